/* SPDX-License-Identifier: MIT */
#include <boarddiag/access.h>

#include "access/tool.h"
#include "core/report.h"

namespace {

// A failing pcitool says itself what is wrong; both calls are silent about it.
constexpr boarddiag::fifo_frame read_frame = {
    .create_failed = "Error Creating PCI pipe %s\n",
    .open_failed = "Could Not open End of PCI Pipe (%s) [%c]\n",
    .command_traced = "pcitool_get: %s\n",
    .run_failed = nullptr,
    .failed_status = 0,
    .count_level = boarddiag::bytes_read_level,
    .count_traced = boarddiag::bytes_read_traced,
};

constexpr boarddiag::run_frame write_frame = {
    .traced_level = 1,
    .traced = "pcitool_set: %s\n",
    .failed_level = -1,
    .failed = nullptr,
    .failed_shows = boarddiag::shown::failed_mark,
    .failed_status = boarddiag::status_minus_one,
    .done = nullptr,
    .dry = boarddiag::dry_run::is_message,
};

// pcitool takes decimal numbers as signed ones.
int decimal(uint32_t value)
{
    return static_cast<int>(value);
}

} // namespace

uint32_t pcitool_get(uint32_t bus, uint32_t device, uint32_t func, uint32_t offset, uint8_t *data,
                     const char *pipe, uint32_t count, uint32_t width)
{
    boarddiag::fifo_call call = {&read_frame, __func__, pipe, data, count, -1, 0};
    boarddiag::command_line command;

    boarddiag::command_format(
        &command, "%s --get --bus=%d --dev=%d --func=%d --offset=0x%02x --pipe=%s --count=%d --width=%d",
        boarddiag::pci_tool, decimal(bus), decimal(device), decimal(func), offset, pipe, decimal(count),
        decimal(width));
    return boarddiag::fifo_read(&call, &command);
}

uint32_t pcitool_set(uint32_t bus, uint32_t device, uint32_t func, uint32_t offset, const uint8_t *data,
                     uint32_t count, uint8_t busbroker_req, uint32_t width)
{
    boarddiag::command_line command;

    boarddiag::command_format(&command, "%s --write --bus=0x%02x --dev=0x%02x --func=0x%02x --offset=0x%02x",
                              boarddiag::pci_tool, bus, device, func, offset);
    if (busbroker_req != 0) {
        boarddiag::command_append(&command, " --busbroker_req --width=%d", decimal(width));
    }
    boarddiag::command_append(&command, " --val=");
    boarddiag::append_values(&command, &boarddiag::comma_list, {data, count});
    return boarddiag::plain_run(&write_frame, __func__, &command);
}
