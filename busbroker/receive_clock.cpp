/* SPDX-License-Identifier: MIT */
// The time between two receive steps.
#include <sys/time.h>

#include "busbroker/receive.h"
#include "core/report.h"

namespace {

constexpr int receive_timeout_s = 3;

/// The datagram that this thread is reading: whose, and whether a step was done. The time is in now_time.
struct timed_datagram {
    const tool_info *tool;
    bool stepped;
};
thread_local timed_datagram current;

void read_clock(timeval *time)
{
    gettimeofday(time, nullptr);
}

double seconds_between(const timeval &later, const timeval &earlier)
{
    return static_cast<double>(later.tv_sec - earlier.tv_sec) +
           static_cast<double>(later.tv_usec - earlier.tv_usec) * 0.000001;
}

} // namespace

void boarddiag::begin_datagram(tool_info *tool)
{
    read_clock(&tool->now_time);
    current = {tool, false};
}

void boarddiag::end_datagram(tool_info *tool)
{
    if (current.tool != tool || current.stepped) {
        read_clock(&tool->last_step_time);
    }
    current = {nullptr, false};
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
    if (current.tool != tool) {
        read_clock(&tool->now_time);
    } else if (current.stepped) {
        return 0; // the last step was in this datagram, and so at the same time
    }
    const double diff = seconds_between(tool->now_time, tool->last_step_time);
    if (diff >= 0 && diff <= receive_timeout_s) {
        return 0;
    }
    if (diff < 0) {
        diag_print(3, "The clock was set back by %f Sec, Resetting state Machine\n", -diff);
    } else {
        diag_print(3, "Rx time diff is %f which is > sock rx timeout %d Sec Resetting state Machine\n", diff,
                   receive_timeout_s);
    }
    reset_sm(context, argument);
    return 1;
}

uint32_t update_time(void *context, void *)
{
    auto *tool = static_cast<tool_info *>(context);

    if (tool == nullptr) {
        return 1;
    }
    if (current.tool != tool) {
        read_clock(&tool->last_step_time);
    } else if (!current.stepped) {
        current.stepped = true;
        tool->last_step_time = tool->now_time;
    }
    return 1;
}
