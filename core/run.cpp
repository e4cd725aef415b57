/* SPDX-License-Identifier: MIT */
#include "core/run.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/edge.h"
#include "core/spawn.h"

namespace {

using boarddiag::fifo_answer;
using boarddiag::plain_command;
using boarddiag::run_signals;

int wait_watching(pid_t pid, fifo_answer *answer)
{
    const auto end_fd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0)); // -1 on kernels before 5.3
    int status = 0;
    pid_t ended = 0;

    do {
        boarddiag::watch_answer(answer, end_fd);
        ended = waitpid(pid, &status, WNOHANG);
    } while (ended == 0 || (ended < 0 && errno == EINTR));
    if (end_fd >= 0) {
        close(end_fd);
    }
    return ended == pid ? status : -1;
}

int wait_for_end(pid_t pid, fifo_answer *answer)
{
    return answer != nullptr ? wait_watching(pid, answer) : boarddiag::wait_for(pid);
}

int spawn_redirected(const plain_command *plain, const run_signals *signals, pid_t *pid)
{
    posix_spawn_file_actions_t actions;

    if (posix_spawn_file_actions_init(&actions) != 0) {
        return ENOMEM;
    }
    const int error = boarddiag::add_redirections(plain, &actions)
                          ? boarddiag::spawn_plain(plain, &actions, signals, pid)
                          : ENOMEM;
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

bool spawn_without_shell(const char *command, const run_signals *signals, pid_t *pid)
{
    plain_command plain;

    if (!boarddiag::split_plain_command(command, &plain)) {
        return false;
    }
    const bool is_redirected =
        plain.redirect[STDOUT_FILENO] != nullptr || plain.redirect[STDERR_FILENO] != nullptr;
    return (is_redirected ? spawn_redirected(&plain, signals, pid)
                          : boarddiag::spawn_plain(&plain, nullptr, signals, pid)) == 0;
}

// Starts the command, behind a shell if it must be; a shell that cannot be started counts as one that ended
// with 127, but for want of a process.
int start_and_wait(const char *command, const run_signals *signals, fifo_answer *answer)
{
    pid_t pid = 0;

    if (spawn_without_shell(command, signals, &pid)) {
        return boarddiag::shell_status(wait_for_end(pid, answer));
    }
    const int error = boarddiag::spawn_shell(command, nullptr, signals, &pid);
    if (error == 0) {
        return wait_for_end(pid, answer);
    }
    return error == EAGAIN || error == ENOMEM ? -1 : 127 << 8;
}

// ---- A system() of the program's own, beside which a thread watches the answer ----

struct watch {
    fifo_answer *answer;
    int end_fd; // readable when the command has ended
    pthread_t thread;
};

void *watch_until_end(void *argument)
{
    auto *watched = static_cast<watch *>(argument);
    uint64_t ended = 0;

    do {
        boarddiag::watch_answer(watched->answer, watched->end_fd);
    } while (read(watched->end_fd, &ended, sizeof ended) < 0);
    return nullptr;
}

// The thread leaves all signals to the program's own threads.
bool begin_watch(watch *watched)
{
    sigset_t all;
    sigset_t mask;

    watched->end_fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (watched->end_fd < 0) {
        return false;
    }
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &mask);
    const bool is_begun = pthread_create(&watched->thread, nullptr, watch_until_end, watched) == 0;
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    if (!is_begun) {
        close(watched->end_fd);
    }
    return is_begun;
}

void end_watch(watch *watched)
{
    eventfd_write(watched->end_fd, 1);
    pthread_join(watched->thread, nullptr);
    close(watched->end_fd);
}

// Without a thread an answer that fits the FIFO still arrives.
int run_with_own_system(const char *command, fifo_answer *answer)
{
    watch watched = {answer, -1, {}};

    const bool is_watched = answer != nullptr && begin_watch(&watched);
    const int status = system(command);
    const int error = errno;
    if (is_watched) {
        end_watch(&watched);
    }
    errno = error;
    return status;
}

} // namespace

int boarddiag::run_command(const char *command, fifo_answer *answer)
{
    run_signals signals;
    int cancel_state = 0;

    // A thread cancelled in here would leave the signals ignored and a child that nobody waits for.
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
    int status = 0;
    if (is_own_system()) {
        status = run_with_own_system(command, answer);
    } else {
        begin_run(&signals);
        status = start_and_wait(command, &signals, answer);
        end_run(&signals);
    }
    pthread_setcancelstate(cancel_state, nullptr);
    return status;
}
