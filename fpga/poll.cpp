/* SPDX-License-Identifier: MIT */
#include "fpga/poll.h"

#include <cerrno>
#include <ctime>

#include "core/report.h"

namespace {

constexpr uint8_t max_cmd_len = 3;
constexpr long poll_pause_ns = 100'000'000;
constexpr long ns_per_second = 1'000'000'000;

} // namespace

bool boarddiag::cmd_len_fits(const char *function, uint8_t cmd_len)
{
    if (cmd_len <= max_cmd_len) {
        return true;
    }
    REPORT_ERROR(function, "Invalid command length %d, at most %d\n", cmd_len, max_cmd_len);
    return false;
}

void boarddiag::pause_between_polls()
{
    timespec until{};
    clock_gettime(CLOCK_MONOTONIC, &until);
    until.tv_nsec += poll_pause_ns;
    if (until.tv_nsec >= ns_per_second) {
        until.tv_nsec -= ns_per_second;
        until.tv_sec++;
    }
    // The periodic timer's SIGALRM interrupts sleeps; going on to a point in time keeps the length exact.
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}
