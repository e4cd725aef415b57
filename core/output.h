/* SPDX-License-Identifier: MIT */
// Commands whose standard output is read while they run.
#ifndef BOARDDIAG_CORE_OUTPUT_H
#define BOARDDIAG_CORE_OUTPUT_H

#include <cstdio>
#include <span>
#include <sys/types.h>

namespace boarddiag {

/// A running command whose standard output is read.
struct command_output {
    pid_t pid;
    int fd;
    FILE *stream; // what a popen() of the program's own gave; then the others mean nothing
};

/// Starts `command` with its standard output on a pipe, or with a popen() of the program's own. False, with
/// errno, when no pipe or process could be had; a command that does not exist still starts, with an empty
/// output.
bool start_output(const char *command, command_output *output);
/// Reads what is there, at least one byte unless the output has ended: 0 then, -1 on failure. An interruption
/// by a signal is no error: the read goes on.
ssize_t read_output(const command_output *output, std::span<char> buffer);
/// Closes the pipe and waits for the command to end; its raw wait status, or -1.
int close_output(const command_output *output);

} // namespace boarddiag

#endif
