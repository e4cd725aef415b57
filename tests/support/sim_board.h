/* SPDX-License-Identifier: MIT */
// A simulated board of a test's own, gone with the record.
#ifndef TESTS_SUPPORT_SIM_BOARD_H
#define TESTS_SUPPORT_SIM_BOARD_H

#include "support/capture.h"

namespace diagtest {

/// A new folder for temporary files.
inline std::string make_root()
{
    std::string name = std::filesystem::temp_directory_path() / "boardsim-XXXXXX";
    EXPECT_NE(mkdtemp(name.data()), nullptr) << name;
    return name;
}

/// What a program's run told.
struct run_result {
    int status; // as system() gives it
    std::string out;
    std::string err;
};

/// Runs a command line through the shell, as the library runs its tools.
inline run_result run_shell(const std::string &command)
{
    const std::string root = make_root(), out = root + "/out", err = root + "/err";
    fflush(stdout);
    const int status = system(("{ " + command + "\n} >" + out + " 2>" + err).c_str());
    const run_result result = {status, text_of(out), text_of(err)};
    std::filesystem::remove_all(root);
    return result;
}

/// A fresh sample board: the simulated tools stand first in PATH and BOARDSIM_DIR names it as long as the
/// record lives. One at a time.
struct sim_board {
    const std::string root = make_root();       // the folder of all that the record makes; a place for FIFOs
    const std::string folder = root + "/board"; // the board, in it
    const std::string old_path = getenv("PATH");

    sim_board()
    {
        const run_result made = run_shell("'" BOARDSIM_BIN "/boardsim' init " + folder);
        EXPECT_EQ(made.status, 0) << made.err;
        setenv("BOARDSIM_DIR", folder.c_str(), 1);
        setenv("PATH", (BOARDSIM_BIN ":" + old_path).c_str(), 1);
    }
    ~sim_board()
    {
        setenv("PATH", old_path.c_str(), 1);
        unsetenv("BOARDSIM_DIR");
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }
    sim_board(const sim_board &) = delete;
    sim_board &operator=(const sim_board &) = delete;

    /// The command lines that the tools were run with, oldest first.
    [[nodiscard]] std::vector<std::string> commands() const
    {
        std::ifstream in(folder + "/commands.log");
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }
    void clear_commands() const
    {
        std::filesystem::remove(folder + "/commands.log");
    }

    /// The contents of the faults file; empty switches all faults off.
    void set_faults(const std::string &text) const
    {
        std::ofstream(folder + "/faults") << text;
    }

    /// Bytes of an image ("i2c/3/0x50.bin"): fewer when it ends before, none when it is missing.
    [[nodiscard]] std::vector<uint8_t> image(const std::string &name, size_t offset, size_t count) const
    {
        std::ifstream in(folder + '/' + name, std::ios::binary);
        std::string bytes(count, '\0');
        in.seekg(static_cast<std::streamoff>(offset)).read(bytes.data(), std::ssize(bytes));
        return {bytes.begin(), bytes.begin() + in.gcount()};
    }
    /// Writes bytes; makes the image, or makes it longer, when needed.
    void set_image(const std::string &name, size_t offset, const std::vector<uint8_t> &bytes) const
    {
        const std::string path = folder + '/' + name;
        const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        EXPECT_GE(pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset)), 0) << path;
        close(fd);
    }
};

} // namespace diagtest

#endif
