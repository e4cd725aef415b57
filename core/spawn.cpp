/* SPDX-License-Identifier: MIT */
#include "core/spawn.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using boarddiag::run_signals;

constexpr const char *shell_path = "/bin/sh";
constexpr const char *shell_name = "sh"; // by which it tells of itself, as behind system()

// posix_spawn() or posix_spawnp()
using spawn_function = decltype(&posix_spawn);

// Starts `file` with `actions`; the result is 0 or the number of the error.
int spawn(spawn_function start, const char *file, char *const *argv,
          const posix_spawn_file_actions_t *actions, const run_signals *signals, pid_t *pid)
{
    posix_spawnattr_t attributes;

    int error = posix_spawnattr_init(&attributes);
    if (error != 0) {
        return error;
    }
    posix_spawnattr_setsigmask(&attributes, &signals->mask);
    posix_spawnattr_setsigdefault(&attributes, &signals->to_default);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    error = start(pid, file, actions, &attributes, argv, environ);
    posix_spawnattr_destroy(&attributes);
    errno = error != 0 ? error : errno;
    return error;
}

// What a shell tells of a command that died of a signal; of an interrupt and a closed pipe it says nothing.
void tell_death(int status)
{
    const int signal = WTERMSIG(status);

    if (signal != SIGINT && signal != SIGPIPE) {
        dprintf(STDERR_FILENO, "%s%s\n", strsignal(signal), WCOREDUMP(status) ? " (core dumped)" : "");
    }
}

} // namespace

bool boarddiag::add_redirections(const plain_command *plain, posix_spawn_file_actions_t *actions)
{
    for (int fd = STDOUT_FILENO; fd <= STDERR_FILENO; fd++) {
        const char *path = plain->redirect[static_cast<size_t>(fd)];
        if (path != nullptr &&
            posix_spawn_file_actions_addopen(actions, fd, path, O_WRONLY | O_CREAT | O_TRUNC, 0666) != 0) {
            return false;
        }
    }
    return true;
}

int boarddiag::spawn_plain(const plain_command *plain, const posix_spawn_file_actions_t *actions,
                           const run_signals *signals, pid_t *pid)
{
    return spawn(posix_spawnp, plain->argv[0], plain->argv.data(), actions, signals, pid);
}

int boarddiag::spawn_shell(const char *command, const posix_spawn_file_actions_t *actions,
                           const run_signals *signals, pid_t *pid)
{
    char *const argv[] = {const_cast<char *>(shell_name), const_cast<char *>("-c"),
                          const_cast<char *>(command), nullptr};
    return spawn(posix_spawn, shell_path, argv, actions, signals, pid);
}

int boarddiag::wait_for(pid_t pid)
{
    int status = 0;
    pid_t ended = 0;

    do {
        ended = waitpid(pid, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended == pid ? status : -1;
}

// Of what the terminal sends to the whole group the shell dies too.
int boarddiag::shell_status(int status)
{
    if (status == -1 || !WIFSIGNALED(status)) {
        return status;
    }
    tell_death(status);
    const int signal = WTERMSIG(status);
    return signal == SIGINT || signal == SIGQUIT ? status : (128 + signal) << 8;
}
