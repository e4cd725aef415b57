/* SPDX-License-Identifier: MIT */
// A simulated board of a test's own, gone with the record.
#ifndef TESTS_SUPPORT_SIM_BOARD_H
#define TESTS_SUPPORT_SIM_BOARD_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace diagtest {

/// What a program's run told.
struct run_result {
    int status; // as system() gives it
    std::string out;
    std::string err;
};

/// Runs a command line through the shell, as the library runs its tools.
run_result run_shell(const std::string &command);

/// What a file holds.
std::string text_of(const std::string &path);

/// A fresh sample board: the simulated tools stand first in PATH and BOARDSIM_DIR names it as long as the
/// record lives. One at a time.
struct sim_board {
    std::string root;   // the folder of all that the record makes; a place for FIFOs
    std::string folder; // the board, in it

    sim_board();
    ~sim_board();
    sim_board(const sim_board &) = delete;
    sim_board &operator=(const sim_board &) = delete;

    /// The command lines that the tools were run with, oldest first.
    [[nodiscard]] std::vector<std::string> commands() const;
    void clear_commands() const;

    /// The contents of the faults file; empty switches all faults off.
    void set_faults(const std::string &text) const;

    /// Bytes of an image ("i2c/3/0x50.bin"): fewer when it ends before, none when it is missing.
    [[nodiscard]] std::vector<uint8_t> image(const std::string &name, uint64_t offset, size_t count) const;
    /// Writes bytes; makes the image, or makes it longer, when needed.
    void set_image(const std::string &name, uint64_t offset, const std::vector<uint8_t> &bytes) const;

  private:
    std::string old_path;
};

} // namespace diagtest

#endif
