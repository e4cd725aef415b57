/* SPDX-License-Identifier: MIT */
// Running a command line: to its end, or with its output on a pipe.
#ifndef BOARDDIAG_CORE_RUN_H
#define BOARDDIAG_CORE_RUN_H

#include <span>
#include <sys/types.h>

namespace boarddiag {

/// Runs `command` and waits for it, with the contract of system(): the result is the raw wait status (exit
/// code 127 for a command that does not exist), or -1 when no process could be had or it could not be waited
/// for; SIGINT and SIGQUIT are ignored and SIGCHLD is held in the caller meanwhile. A plain command is
/// started without a shell; its death by signal n then counts as exit code 128 + n, as it does behind a
/// shell. Any other command, and one that cannot be started so, goes to the shell. Thread-safe; the thread is
/// not cancelled meanwhile.
int run_command(const char *command);

/// Gives a forked child the actions for SIGINT and SIGQUIT that the process had before it began to ignore
/// them for commands that run in other threads. Async-signal-safe; to be called in the child only.
void restore_signals_of_runs();

/// A running command whose standard output is read.
struct command_output {
    pid_t pid;
    int fd;
};

/// Starts `command` with its standard output on a pipe. False when no pipe or process could be had; a command
/// that does not exist still starts, with an empty output.
bool start_output(const char *command, command_output *output);
/// Reads what is there, at least one byte unless the output has ended: 0 then, -1 on failure. An interruption
/// by a signal is no error: the read goes on.
ssize_t read_output(const command_output *output, std::span<char> buffer);
/// Closes the pipe and waits for the command to end; its status is not examined.
void close_output(const command_output *output);

} // namespace boarddiag

#endif
