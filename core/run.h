/* SPDX-License-Identifier: MIT */
// Running a command line to its end.
#ifndef BOARDDIAG_CORE_RUN_H
#define BOARDDIAG_CORE_RUN_H

#include "core/answer.h"

namespace boarddiag {

/// Runs `command` and waits for it, with the contract of system(): the result is the raw wait status (exit
/// code 127 for a command that does not exist), or -1 when no process could be had or it could not be waited
/// for; SIGINT and SIGQUIT are ignored and SIGCHLD is held in the caller meanwhile. A plain command is
/// started without a shell; its death by signal n then counts as exit code 128 + n, as it does behind a
/// shell, but for SIGINT and SIGQUIT, and is told on standard error in the shell's words. Any other command,
/// and one that cannot be started so, goes to the shell; all go to a system() of the program's own. `answer`,
/// if there is one, is watched meanwhile (watch_answer()). Thread-safe; the thread is not cancelled
/// meanwhile.
int run_command(const char *command, fifo_answer *answer = nullptr);

} // namespace boarddiag

#endif
