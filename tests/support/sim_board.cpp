/* SPDX-License-Identifier: MIT */
#include "support/sim_board.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

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

std::string text_of(const std::string &path)
{
    const std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string path_now()
{
    const char *path = getenv("PATH");
    return path == nullptr ? "/usr/bin:/bin" : path;
}

} // namespace

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

sim_board::sim_board() : root(make_root()), folder(root + "/board"), old_path(path_now())
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
    std::ifstream in(folder + '/' + name, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(offset));
    std::string bytes(count, '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(count));
    bytes.resize(static_cast<size_t>(in.gcount()));
    return {bytes.begin(), bytes.end()};
}

void sim_board::set_image(const std::string &name, uint64_t offset, const std::vector<uint8_t> &bytes) const
{
    const fs::path path = folder + '/' + name;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::app).close(); // there from now on
    std::fstream out(path, std::ios::binary | std::ios::in | std::ios::out);
    out.seekp(static_cast<std::streamoff>(offset));
    out.write(std::string(bytes.begin(), bytes.end()).data(), static_cast<std::streamsize>(bytes.size()));
    if (!out.flush()) {
        give_up(path.c_str());
    }
}

void sim_board::remove_image(const std::string &name) const
{
    fs::remove(folder + '/' + name);
}

std::string sim_board::fifo_path(const std::string &name) const
{
    return root + '/' + name;
}

} // namespace diagtest
