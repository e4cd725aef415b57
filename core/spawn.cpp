/* SPDX-License-Identifier: MIT */
#include "core/spawn.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
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

// Writes to standard error as another process would: without harm, and without waiting, when nobody reads it.
void write_error_line(const char *line, size_t length)
{
    struct pollfd error = {STDERR_FILENO, POLLOUT, 0};
    sigset_t broken_pipe;
    sigset_t mask;
    const timespec at_once = {0, 0};

    if (poll(&error, 1, 0) != 1 || error.revents != POLLOUT) {
        return;
    }
    sigemptyset(&broken_pipe);
    sigaddset(&broken_pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &broken_pipe, &mask);
    if (write(STDERR_FILENO, line, length) < 0 && errno == EPIPE && sigismember(&mask, SIGPIPE) == 0) {
        sigtimedwait(&broken_pipe, nullptr, &at_once);
    }
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

// What a shell tells of a command that died of a signal; of an interrupt and a closed pipe it says nothing.
void tell_death(int status)
{
    const int signal = WTERMSIG(status);
    char line[80];

    if (signal != SIGINT && signal != SIGPIPE) {
        const int length = snprintf(line, sizeof line, "%s%s\n", strsignal(signal),
                                    WCOREDUMP(status) ? " (core dumped)" : "");
        write_error_line(line, std::min(static_cast<size_t>(length), sizeof line - 1));
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
