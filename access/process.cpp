/* SPDX-License-Identifier: MIT */
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <pthread.h>
#include <stdio_ext.h>
#include <unistd.h>

#include <boarddiag/access.h>
#include <boarddiag/core.h>

#include "core/command.h"
#include "core/reason.h"
#include "core/report.h"
#include "core/run_signals.h"

namespace {

constexpr int no_program_status = 127;
constexpr time_t report_limit_s = 5;

// A lock that another thread held while the process was forked is never released in the child: a child whose
// report would wait for one is killed.
void limit_report()
{
    const struct itimerspec limit = {.it_interval = {}, .it_value = {.tv_sec = report_limit_s, .tv_nsec = 0}};
    struct sigevent kill = {};
    timer_t timer = {};

    kill.sigev_notify = SIGEV_SIGNAL;
    kill.sigev_signo = SIGKILL;
    if (timer_create(CLOCK_MONOTONIC, &kill, &timer) == 0) {
        timer_settime(timer, 0, &limit, nullptr);
    }
}

// The child: what its parent had printed but not yet flushed is the parent's to show.
[[noreturn]] void become(const char *function, char *const *argv)
{
    boarddiag::restore_signals_of_runs();
    execve(argv[0], argv, environ);
    const int reason = errno;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr); // it would run the program's own exit handlers
    limit_report();
    __fpurge(stdout);
    REPORT_ERROR(function, "Error while execve. Error code %d\n", reason);
    fflush(stdout);
    _exit(no_program_status);
}

uint32_t start_process(const char *function, const char *path, const char *operation, const char *argument,
                       const char *extra)
{
    const char *argv[5] = {path, operation};
    size_t words = 2;

    if (path == nullptr) {
        REPORT_ERROR(function, "Rx NULL pointers\n");
        return DIAG_ERR_FAILED;
    }
    for (const char *optional : {argument, extra}) {
        if (optional != nullptr) {
            argv[words++] = optional;
        }
    }
    const pid_t child = fork();
    if (child == 0) {
        become(function, const_cast<char *const *>(argv)); // execve changes none of them
    }
    if (child < 0) {
        boarddiag::set_reason("%s: %s", path, strerror(errno));
        REPORT_FOLLOW_UP(function, "Couldn't fork\n");
        return DIAG_ERR_FAILED;
    }
    return 0;
}

} // namespace

uint32_t epoll_generic_get(const char *path, const char *pipe, const char *extra)
{
    boarddiag::command_line option;

    if (pipe != nullptr) {
        boarddiag::command_format(&option, "--pipe=%s", pipe);
    }
    return start_process(__func__, path, "--get", pipe != nullptr ? option.text : nullptr, extra);
}

uint32_t epoll_generic_set(const char *path, const char *arg, const char *extra)
{
    return start_process(__func__, path, "--set", arg, extra);
}
