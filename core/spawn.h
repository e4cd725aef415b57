/* SPDX-License-Identifier: MIT */
// Processes of commands: starting one behind a shell or without, and waiting for its end.
#ifndef BOARDDIAG_CORE_SPAWN_H
#define BOARDDIAG_CORE_SPAWN_H

#include <spawn.h>
#include <sys/types.h>

#include "core/command.h"
#include "core/run_signals.h"

namespace boarddiag {

/// Adds the redirections of `plain` to what its process does first. False for want of memory.
bool add_redirections(const plain_command *plain, posix_spawn_file_actions_t *actions);

/// Starts a plain command without a shell, after `actions`, which may be null. 0, or the number of the error,
/// in errno too.
int spawn_plain(const plain_command *plain, const posix_spawn_file_actions_t *actions,
                const run_signals *signals, pid_t *pid);
/// Starts a command behind a shell; else the same.
int spawn_shell(const char *command, const posix_spawn_file_actions_t *actions, const run_signals *signals,
                pid_t *pid);

/// Waits for the end of a process: its raw wait status, or -1.
int wait_for(pid_t pid);

/// The status that a shell would have reported of a command that ended with `status`, whose death of a signal
/// is told on standard error in the shell's words.
int shell_status(int status);

} // namespace boarddiag

#endif
