/* SPDX-License-Identifier: MIT */
// The time between two receive steps.
#include <ctime>

#include "busbroker/receive.h"
#include "core/report.h"

namespace {

constexpr int receive_timeout_s = 3;

/// The tool whose datagram this thread is reading, with the time in its now_time.
thread_local const tool_info *timed_tool;

timeval time_of_day(clockid_t clock)
{
    timespec now = {};
    timeval result;

    clock_gettime(clock, &now);
    result.tv_sec = now.tv_sec;
    result.tv_usec = static_cast<suseconds_t>(now.tv_nsec / 1000);
    return result;
}

void update_now(tool_info &tool)
{
    if (timed_tool != &tool) {
        tool.now_time = time_of_day(CLOCK_REALTIME);
    }
}

double seconds_between(const timeval &later, const timeval &earlier)
{
    return static_cast<double>(later.tv_sec - earlier.tv_sec) +
           static_cast<double>(later.tv_usec - earlier.tv_usec) * 0.000001;
}

} // namespace

void boarddiag::refresh_clock(tool_info &tool)
{
    tool.now_time = time_of_day(CLOCK_REALTIME_COARSE);
}

void boarddiag::begin_datagram(tool_info *tool)
{
    refresh_clock(*tool);
    timed_tool = tool;
}

void boarddiag::end_datagram()
{
    timed_tool = nullptr;
}

double get_time_diff(const struct timeval *later, const struct timeval *earlier)
{
    if (later == nullptr || earlier == nullptr) {
        REPORT_ERROR(__func__, "Null Pointer received as one of the times \n");
        return 0.0;
    }
    return seconds_between(*later, *earlier);
}

uint8_t check_rxtime_diff(void *context, void *argument)
{
    auto *tool = static_cast<tool_info *>(context);

    if (tool == nullptr) {
        return 0;
    }
    update_now(*tool);
    // Fewer whole seconds than the limit need no fractions.
    if (tool->now_time.tv_sec - tool->last_step_time.tv_sec < receive_timeout_s) {
        return 0;
    }
    const double diff = seconds_between(tool->now_time, tool->last_step_time);
    if (diff <= receive_timeout_s) {
        return 0;
    }
    diag_print(3, "Rx time diff is %f which is > sock rx timeout %d Sec Resetting state Machine\n", diff,
               receive_timeout_s);
    reset_sm(context, argument);
    return 1;
}

uint32_t update_time(void *context, void *)
{
    auto *tool = static_cast<tool_info *>(context);

    if (tool != nullptr) {
        tool->last_step_time = timed_tool == tool ? tool->now_time : time_of_day(CLOCK_REALTIME);
    }
    return 1;
}
