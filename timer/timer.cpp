/* SPDX-License-Identifier: MIT */
// The two kinds of timers, the tick's signal handler and the bounded wait.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <ctime>

#include <boarddiag/timer.h>

#include "core/report.h"

namespace {

enum timer_mode : uint32_t { polling_mode = 0, periodic_mode = 1 };

constexpr long nanoseconds_per_second = 1'000'000'000;

// The periods by timeout type.
constexpr timespec periods[] = {{0, 1'000'000}, {0, 100'000'000}, {1, 0}};
constexpr int32_t period_count = sizeof periods / sizeof periods[0];

uint32_t make_polling_timer(const char *function, timer_t *timer)
{
    sigevent silent = {};

    silent.sigev_notify = SIGEV_NONE;
    if (timer_create(CLOCK_REALTIME, &silent, timer) != 0) {
        *timer = nullptr;
        REPORT_ERROR(function, "Failed to create timer \n");
        return DIAG_ERR_INVALID_ARG;
    }
    return 0;
}

bool install_handler()
{
    struct sigaction action = {};

    action.sa_handler = timer_handler;
    sigemptyset(&action.sa_mask);
    return sigaction(SIGALRM, &action, nullptr) == 0;
}

sigset_t alarm_set()
{
    sigset_t set;

    sigemptyset(&set);
    sigaddset(&set, SIGALRM);
    return set;
}

/// Arms the timer and lets its signal through to the calling thread.
uint32_t start_periodic_timer(const char *function, timer_t timer, int32_t timeout_type)
{
    if (timeout_type < 0 || timeout_type >= period_count) {
        diag_print(0, "Only 1mSec, 16mSec, 1Sec timeout types are supported\n");
        return DIAG_ERR_INVALID_ARG;
    }
    diag_print(3, "Timer created succesfully\n");
    const itimerspec period = {periods[timeout_type], periods[timeout_type]};
    if (timer_settime(timer, 0, &period, nullptr) != 0) {
        REPORT_ERROR(function, "Failed to set time to timer with id %d\n",
                     static_cast<int>(reinterpret_cast<intptr_t>(timer)));
        return DIAG_ERR_INVALID_ARG;
    }
    const sigset_t alarm = alarm_set();
    if (sigprocmask(SIG_UNBLOCK, &alarm, nullptr) != 0) {
        REPORT_ERROR(function, "Can't un mask the timer signal\n");
        return DIAG_ERR_INVALID_ARG;
    }
    return 0;
}

/// A timer that could not be started is not kept.
uint32_t create_and_start(const char *function, timer_t *timer, int32_t timeout_type)
{
    timer_t made;

    if (timer_create(CLOCK_REALTIME, nullptr, &made) != 0) {
        REPORT_ERROR(function, "Failed to create timer \n");
        return DIAG_ERR_INVALID_ARG;
    }
    const uint32_t status = start_periodic_timer(function, made, timeout_type);
    if (status != 0) {
        timer_delete(made);
        return status;
    }
    *timer = made;
    return 0;
}

uint32_t make_periodic_timer(const char *function, timer_t *timer, int32_t timeout_type)
{
    const sigset_t alarm = alarm_set();
    sigset_t previous;

    *timer = nullptr;
    boarddiag::expect_ticks();
    if (!install_handler()) {
        REPORT_ERROR(function, "Failed to allocate handler for timer\n");
        return DIAG_ERR_INVALID_ARG;
    }
    // Everything but the alarm is let through, and the alarm only when the timer stands.
    if (sigprocmask(SIG_SETMASK, &alarm, &previous) != 0) {
        REPORT_ERROR(function, "Failed to mask the signal\n");
        return DIAG_ERR_INVALID_ARG;
    }
    const uint32_t status = create_and_start(function, timer, timeout_type);
    if (status != 0) {
        sigprocmask(SIG_SETMASK, &previous, nullptr);
    }
    return status;
}

/// What timer_settime() takes; a time that is no number becomes one that it refuses, as it does a negative
/// one.
timespec split_seconds(double seconds)
{
    constexpr double longest = INT32_MAX;
    timespec time = {};

    if (std::isnan(seconds)) {
        time.tv_nsec = -1;
        return time;
    }
    const double bounded = std::clamp(seconds, -longest, longest);
    time.tv_sec = static_cast<time_t>(bounded);
    time.tv_nsec = static_cast<long>((bounded - static_cast<double>(time.tv_sec)) * nanoseconds_per_second);
    return time;
}

bool is_zero(const timespec &time)
{
    return time.tv_sec == 0 && time.tv_nsec == 0;
}

bool has_run_out(timer_t timer, timespec *remaining)
{
    itimerspec state = {};

    if (timer_gettime(timer, &state) != 0) {
        return true; // nobody would ever end a wait for a timer that is gone
    }
    *remaining = state.it_value;
    return is_zero(*remaining);
}

} // namespace

void timer_handler(int)
{
    const int saved_errno = errno;
    timeout_calls();
    errno = saved_errno;
}

uint32_t init_timer(uint32_t mode, timer_t *timer, int32_t timeout_type)
{
    if (timer == nullptr) {
        REPORT_ERROR(__func__, "NULL pointer received as timer\n");
        return DIAG_ERR_INVALID_ARG;
    }
    switch (mode) {
    case polling_mode:
        return make_polling_timer(__func__, timer);
    case periodic_mode:
        return make_periodic_timer(__func__, timer, timeout_type);
    default:
        *timer = nullptr;
        return 0;
    }
}

void waitfor_timeout(timer_t timer, double seconds)
{
    const itimerspec once = {{}, split_seconds(seconds)};

    if (timer_settime(timer, 0, &once, nullptr) != 0) {
        REPORT_ERROR(__func__, "Failed to set time to timer with id\n");
        return;
    }
    if (is_zero(once.it_value)) {
        return; // a disarmed timer without notification may still tell what remained when it was armed last
    }
    // The timer decides when the wait is over: a sleep that a signal cuts short is simply taken up again.
    timespec remaining;
    while (!has_run_out(timer, &remaining)) {
        clock_nanosleep(CLOCK_MONOTONIC, 0, &remaining, nullptr);
    }
}
