/* SPDX-License-Identifier: MIT */
#include <boarddiag/access.h>
#include <boarddiag/core.h>

#include "access/tool.h"

namespace {

constexpr boarddiag::fifo_frame read_frame = {
    .create_failed = "Error Creating LPC pipe\n",
    .open_failed = "Could Not open End of LPC Pipe \n",
    .command_traced = nullptr,
    .run_failed = "%s\nError Reading from LPC\n",
    .failed_status = DIAG_ERR_LPC_ACCESS,
    .count_level = boarddiag::bytes_read_level,
    .count_traced = boarddiag::bytes_read_traced,
};

constexpr boarddiag::run_frame write_frame = {
    .traced_level = 1,
    .traced = "Calling %s\n",
    .failed_level = -1,
    .failed = "%s\nError Writing to LPC\n",
    .failed_shows = boarddiag::shown::failed_mark,
    .failed_status = DIAG_ERR_LPC_ACCESS,
    .done = "%d bytes written to lpc\n",
    .dry = boarddiag::dry_run::runs,
};

constexpr boarddiag::value_format short_list = {"0x%0x", ",0x%0x"};

} // namespace

uint32_t lpctool_get(uint32_t addr, int32_t count, char size, const char *pipe, uint8_t *data)
{
    boarddiag::fifo_call call = {&read_frame, __func__, pipe, data, count, -1, 0};
    boarddiag::command_line command;

    boarddiag::command_format(&command, "%s --get --addr=0x%08x --size=%c --count=%d --pipe=%s",
                              boarddiag::lpc_tool, addr, size, count, pipe);
    return boarddiag::fifo_read(&call, &command);
}

uint32_t lpctool_set(uint32_t addr, const uint8_t *data, int32_t count, char size, uint8_t busbroker_req)
{
    boarddiag::command_line command;

    boarddiag::command_format(&command, "%s --write --addr=0x%08x --size=%c%s --val=", boarddiag::lpc_tool,
                              addr, size, busbroker_req != 0 ? " --busbroker_req " : "");
    boarddiag::append_values(&command, &short_list, boarddiag::values_of(data, count));
    return boarddiag::plain_run(&write_frame, __func__, &command, count);
}
