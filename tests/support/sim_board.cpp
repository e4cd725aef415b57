/* SPDX-License-Identifier: MIT */
#include "support/sim_board.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <unistd.h>

namespace diagtest {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void give_up(const char *what)
{
    perror(what);
    abort();
}

std::string make_root()
{
    std::string name = fs::temp_directory_path() / "boardsim-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        give_up("making a folder for a simulated board");
    }
    return name;
}

} // namespace

std::string text_of(const std::string &path)
{
    const std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

run_result run_shell(const std::string &command)
{
    const std::string root = make_root();
    const std::string quoted = "{ " + command + "\n} >" + root + "/out 2>" + root + "/err";
    run_result result;
    fflush(stdout);
    result.status = system(quoted.c_str());
    result.out = text_of(root + "/out");
    result.err = text_of(root + "/err");
    fs::remove_all(root);
    return result;
}

sim_board::sim_board() : root(make_root()), folder(root + "/board"), old_path(getenv("PATH"))
{
    const run_result made = run_shell(BOARDSIM_BIN "/boardsim init " + folder);
    if (made.status != 0) {
        give_up(made.err.c_str());
    }
    setenv("BOARDSIM_DIR", folder.c_str(), 1);
    setenv("PATH", (BOARDSIM_BIN ":" + old_path).c_str(), 1);
}

sim_board::~sim_board()
{
    setenv("PATH", old_path.c_str(), 1);
    unsetenv("BOARDSIM_DIR");
    std::error_code ignored;
    fs::remove_all(root, ignored);
}

std::vector<std::string> sim_board::commands() const
{
    std::ifstream in(folder + "/commands.log");
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

void sim_board::clear_commands() const
{
    fs::remove(folder + "/commands.log");
}

void sim_board::set_faults(const std::string &text) const
{
    std::ofstream(folder + "/faults") << text;
}

std::vector<uint8_t> sim_board::image(const std::string &name, uint64_t offset, size_t count) const
{
    std::vector<uint8_t> bytes(count);
    const int fd = open((folder + '/' + name).c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t got = pread(fd, bytes.data(), count, static_cast<off_t>(offset));
    bytes.resize(got > 0 ? static_cast<size_t>(got) : 0);
    close(fd);
    return bytes;
}

void sim_board::set_image(const std::string &name, uint64_t offset, const std::vector<uint8_t> &bytes) const
{
    const std::string path = folder + '/' + name;
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    EXPECT_GE(pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset)), 0) << path;
    close(fd);
}

} // namespace diagtest
