/* SPDX-License-Identifier: MIT */
#include <boarddiag/access.h>

#include "access/tool.h"

namespace {

constexpr boarddiag::fifo_frame read_frame = {
    .create_failed = "Error Creating GPIO pipe\n",
    .open_failed = "Could Not open End of GPIO Pipe \n",
    .command_traced = nullptr,
    .run_failed = "%s\nError Reading from GPIO\n",
    .failed_status = 0,
    .count_level = boarddiag::bytes_read_level,
    .count_traced = boarddiag::bytes_read_traced,
};

constexpr boarddiag::run_frame write_frame = {
    .traced_level = 1,
    .traced = "Calling %s\n",
    .failed_level = -1,
    .failed = "%s\nError Writing to GPIO\n",
    .failed_shows = boarddiag::shown::failed_mark,
    .failed_status = 0,
    .done = "byte written to GPIO\n",
    .dry = boarddiag::dry_run::runs,
};

} // namespace

uint32_t gpiotool_get(int32_t chip, int32_t pin, const char *pipe, uint8_t *value)
{
    boarddiag::fifo_call call = {&read_frame, __func__, pipe, value, 1, -1, 0};
    boarddiag::command_line command;

    boarddiag::command_format(&command, "%s --get --chip=%d --pin=%d --pipe=%s", boarddiag::gpio_tool, chip,
                              pin, pipe);
    return boarddiag::fifo_read(&call, &command);
}

uint32_t gpiotool_set(int32_t chip, int32_t pin, const uint8_t *value, uint8_t busbroker_req)
{
    boarddiag::command_line command;

    boarddiag::command_format(&command, "%s --set --chip=%d --pin=%d --val=%d", boarddiag::gpio_tool, chip,
                              pin, *value);
    if (busbroker_req != 0) {
        boarddiag::command_append(&command, " --busbroker_req");
    }
    return boarddiag::plain_run(&write_frame, __func__, &command);
}
