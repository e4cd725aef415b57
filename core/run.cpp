/* SPDX-License-Identifier: MIT */
#include "core/run.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/command.h"

namespace {

using boarddiag::plain_command;

constexpr const char *shell_path = "/bin/sh";
constexpr const char *shell_name = "sh"; // by which it tells of itself, as behind system()

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
    if (signals != nullptr) {
        posix_spawnattr_setsigmask(&attributes, &signals->mask);
        posix_spawnattr_setsigdefault(&attributes, &signals->to_default);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    error = start(pid, file, actions, &attributes, argv, environ);
    posix_spawnattr_destroy(&attributes);
    return error;
}

int spawn_shell(const char *command, const posix_spawn_file_actions_t *actions, const run_signals *signals,
                pid_t *pid)
{
    char *const argv[] = {const_cast<char *>(shell_name), const_cast<char *>("-c"),
                          const_cast<char *>(command), nullptr};
    return spawn(posix_spawn, shell_path, argv, actions, signals, pid);
}

bool spawn_plain(const plain_command *plain, const run_signals *signals, pid_t *pid)
{
    if (plain->redirect[STDOUT_FILENO] == nullptr && plain->redirect[STDERR_FILENO] == nullptr) {
        return spawn(posix_spawnp, plain->argv[0], plain->argv.data(), nullptr, signals, pid) == 0;
    }
    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0) {
        return false;
    }
    const bool started = add_redirections(plain, &actions) &&
                         spawn(posix_spawnp, plain->argv[0], plain->argv.data(), &actions, signals, pid) == 0;
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

// Starts the command, behind a shell if it must be; a shell that cannot be started counts as one that ended
// with 127, but for want of a process.
int start_and_wait(const char *command, const run_signals *signals)
{
    plain_command plain;
    pid_t pid = 0;

    if (boarddiag::split_plain_command(command, &plain) && spawn_plain(&plain, signals, &pid)) {
        const int status = wait_for(pid);
        return status == -1 ? -1 : shell_status(status);
    }
    const int error = spawn_shell(command, nullptr, signals, &pid);
    if (error != 0) {
        return error == EAGAIN || error == ENOMEM ? -1 : 127 << 8;
    }
    return wait_for(pid);
}

// ---- Output on a pipe ----

// Starts `command` with its output on `pipe_end`, without a shell if it can.
bool spawn_output(const char *command, int pipe_end, bool plainly, pid_t *pid)
{
    posix_spawn_file_actions_t actions;
    plain_command plain;

    if (plainly &&
        (!boarddiag::split_plain_command(command, &plain) || plain.redirect[STDOUT_FILENO] != nullptr)) {
        return false;
    }
    if (posix_spawn_file_actions_init(&actions) != 0) {
        return false;
    }
    bool started = posix_spawn_file_actions_adddup2(&actions, pipe_end, STDOUT_FILENO) == 0;
    if (plainly) {
        started = started && add_redirections(&plain, &actions) &&
                  spawn(posix_spawnp, plain.argv[0], plain.argv.data(), &actions, nullptr, pid) == 0;
    } else {
        started = started && spawn_shell(command, &actions, nullptr, pid) == 0;
    }
    posix_spawn_file_actions_destroy(&actions);
    return started;
}

} // namespace

int boarddiag::run_command(const char *command)
{
    run_signals signals;
    int cancel_state = 0;

    // A thread cancelled in here would leave the signals ignored and a child that nobody waits for.
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
    begin_run(&signals);
    const int status = start_and_wait(command, &signals);
    end_run(&signals);
    pthread_setcancelstate(cancel_state, nullptr);
    return status;
}

void boarddiag::restore_signals_of_runs()
{
    if (runs > 0) {
        sigaction(SIGINT, &found_int, nullptr);
        sigaction(SIGQUIT, &found_quit, nullptr);
    }
}

bool boarddiag::start_output(const char *command, command_output *output)
{
    int ends[2];

    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    const bool started = spawn_output(command, ends[1], true, &output->pid) ||
                         spawn_output(command, ends[1], false, &output->pid);
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
