/* SPDX-License-Identifier: MIT */
#include "fpga/poll.h"

#include "core/edge.h"
#include "core/report.h"

namespace {

constexpr uint8_t max_cmd_len = 3;
constexpr useconds_t poll_pause_us = 100'000;

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
    pause_for(poll_pause_us);
}
