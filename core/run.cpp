/* SPDX-License-Identifier: MIT */
#include "core/run.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/command.h"

namespace {

using boarddiag::plain_command;

// ---- Starting without a shell ----

// While commands run, the whole process ignores SIGINT and SIGQUIT: the first run begins that, the last ends
// it.
pthread_mutex_t runs_mutex = PTHREAD_MUTEX_INITIALIZER;
int runs; // guarded by runs_mutex, as are the two actions that the first run found
struct sigaction found_int;
struct sigaction found_quit;

struct run_signals {
    sigset_t mask;       // the caller's own
    sigset_t to_default; // what the command must not inherit as ignored
};

void begin_run(run_signals *signals)
{
    struct sigaction ignore = {};
    sigset_t child;

    ignore.sa_handler = SIG_IGN;
    sigemptyset(&signals->to_default);
    pthread_mutex_lock(&runs_mutex);
    if (runs++ == 0) {
        sigaction(SIGINT, &ignore, &found_int);
        sigaction(SIGQUIT, &ignore, &found_quit);
    }
    if (found_int.sa_handler != SIG_IGN) {
        sigaddset(&signals->to_default, SIGINT);
    }
    if (found_quit.sa_handler != SIG_IGN) {
        sigaddset(&signals->to_default, SIGQUIT);
    }
    pthread_mutex_unlock(&runs_mutex);
    sigemptyset(&child);
    sigaddset(&child, SIGCHLD);
    pthread_sigmask(SIG_BLOCK, &child, &signals->mask);
}

void end_run(const run_signals *signals)
{
    pthread_mutex_lock(&runs_mutex);
    if (--runs == 0) {
        sigaction(SIGINT, &found_int, nullptr);
        sigaction(SIGQUIT, &found_quit, nullptr);
    }
    pthread_mutex_unlock(&runs_mutex);
    pthread_sigmask(SIG_SETMASK, &signals->mask, nullptr);
}

bool add_redirections(const plain_command *plain, posix_spawn_file_actions_t *actions)
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

// Starts argv with `actions`; false for whatever reason it cannot be started.
bool spawn(char *const *argv, const posix_spawn_file_actions_t *actions, const run_signals *signals,
           pid_t *pid)
{
    posix_spawnattr_t attributes;
    bool started = false;

    if (posix_spawnattr_init(&attributes) != 0) {
        return false;
    }
    if (signals != nullptr) {
        posix_spawnattr_setsigmask(&attributes, &signals->mask);
        posix_spawnattr_setsigdefault(&attributes, &signals->to_default);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    started = posix_spawnp(pid, argv[0], actions, &attributes, argv, environ) == 0;
    posix_spawnattr_destroy(&attributes);
    return started;
}

bool spawn_plain(const plain_command *plain, const run_signals *signals, pid_t *pid)
{
    if (plain->redirect[STDOUT_FILENO] == nullptr && plain->redirect[STDERR_FILENO] == nullptr) {
        return spawn(plain->argv.data(), nullptr, signals, pid);
    }
    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0) {
        return false;
    }
    const bool started =
        add_redirections(plain, &actions) && spawn(plain->argv.data(), &actions, signals, pid);
    posix_spawn_file_actions_destroy(&actions);
    return started;
}

// The status that a shell would have reported of a command that it ran.
int shell_status(int status)
{
    return WIFSIGNALED(status) ? (128 + WTERMSIG(status)) << 8 : status;
}

int wait_for(pid_t pid)
{
    int status = 0;
    pid_t ended = 0;

    do {
        ended = waitpid(pid, &status, 0);
    } while (ended < 0 && errno == EINTR);
    return ended == pid ? status : -1;
}

bool run_plain(const plain_command *plain, int *status)
{
    run_signals signals;
    pid_t pid = 0;

    begin_run(&signals);
    const bool started = spawn_plain(plain, &signals, &pid);
    if (started) {
        const int ended = wait_for(pid);
        *status = ended == -1 ? -1 : shell_status(ended);
    }
    end_run(&signals);
    return started;
}

// ---- Output on a pipe ----

// Starts `command` with `actions`, which put its output on the pipe.
bool spawn_output(const char *command, posix_spawn_file_actions_t *actions, pid_t *pid)
{
    plain_command plain;

    if (boarddiag::split_plain_command(command, &plain) && plain.redirect[STDOUT_FILENO] == nullptr &&
        add_redirections(&plain, actions) && spawn(plain.argv.data(), actions, nullptr, pid)) {
        return true;
    }
    char *const shell[] = {const_cast<char *>("sh"), const_cast<char *>("-c"), const_cast<char *>(command),
                           nullptr};
    return spawn(shell, actions, nullptr, pid);
}

} // namespace

int boarddiag::run_command(const char *command)
{
    plain_command plain;
    int status = 0;

    if (split_plain_command(command, &plain) && run_plain(&plain, &status)) {
        return status;
    }
    return system(command);
}

bool boarddiag::start_output(const char *command, command_output *output)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    posix_spawn_file_actions_t actions;
    bool started = posix_spawn_file_actions_init(&actions) == 0;
    if (started) {
        started = posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO) == 0 &&
                  spawn_output(command, &actions, &output->pid);
        posix_spawn_file_actions_destroy(&actions);
    }
    close(ends[1]);
    output->fd = ends[0];
    if (!started) {
        close(ends[0]);
    }
    return started;
}

ssize_t boarddiag::read_output(const command_output *output, std::span<char> buffer)
{
    ssize_t got = 0;

    do {
        got = read(output->fd, buffer.data(), buffer.size());
    } while (got < 0 && errno == EINTR);
    return got;
}

void boarddiag::close_output(const command_output *output)
{
    close(output->fd);
    wait_for(output->pid);
}
