/* SPDX-License-Identifier: MIT */
// The signals of the process while commands run: SIGINT and SIGQUIT are ignored, as system() does it, from
// the first of several runs at once to the last.
#ifndef BOARDDIAG_CORE_RUN_SIGNALS_H
#define BOARDDIAG_CORE_RUN_SIGNALS_H

#include <csignal>

namespace boarddiag {

/// What a command is started with.
struct run_signals {
    sigset_t mask;       ///< the caller's own
    sigset_t to_default; ///< what the command must not inherit as ignored
};

/// Ignores both signals for the process and holds SIGCHLD for the thread. Thread-safe.
void begin_run(run_signals *signals);
/// Ends what begin_run() began.
void end_run(const run_signals *signals);

/// What a command is started with that runs beside its caller, who goes on being interrupted. Thread-safe.
void signals_of_child(run_signals *signals);

/// Gives a forked child the actions for SIGINT and SIGQUIT that the process had before it began to ignore
/// them for commands that run in other threads. Async-signal-safe; to be called in the child only.
void restore_signals_of_runs();

} // namespace boarddiag

#endif
