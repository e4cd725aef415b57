/* SPDX-License-Identifier: MIT */
// Runs a tool that answers into a FIFO.
#ifndef TESTS_SIM_TOOL_READ_H
#define TESTS_SIM_TOOL_READ_H

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/sim_board.h"

namespace diagtest {

using bytes = std::vector<uint8_t>;

inline bytes text_bytes(const std::string &text)
{
    return {text.begin(), text.end()};
}

/// Runs `command`, in which the word FIFO stands for a FIFO's path; returns what came through that FIFO.
inline bytes read_through_fifo(const sim_board &board, std::string command, run_result &run)
{
    const std::string path = board.fifo_path("fifo");
    mkfifo(path.c_str(), 0600);
    const int fd = open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    run = run_shell(command.replace(command.find("FIFO"), 4, path));
    bytes data(70000);
    const ssize_t count = read(fd, data.data(), data.size());
    data.resize(count > 0 ? static_cast<size_t>(count) : 0);
    close(fd);
    unlink(path.c_str());
    return data;
}

} // namespace diagtest

#endif
