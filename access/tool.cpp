/* SPDX-License-Identifier: MIT */
#include "access/tool.h"

#include <boarddiag/access.h>
#include <boarddiag/core.h>

#include "core/reason.h"
#include "core/report.h"
#include "core/run.h"

static_assert(SYS_CMD_MAX_SIZE == boarddiag::command_size);

namespace {

using boarddiag::command_line;
using boarddiag::run_frame;

// Shows the command in place of running it; false when it is to run.
bool show_instead(const run_frame *frame, const char *function, const command_line *command)
{
    if (frame->dry == boarddiag::dry_run::runs || !boarddiag::is_dry_run()) {
        return false;
    }
    if (frame->dry == boarddiag::dry_run::is_error) {
        REPORT_FOLLOW_UP(function, "%s\n", command->text); // no failure: there is nothing to run
    } else {
        diag_print(0, "%s\n", command->text);
    }
    return true;
}

void tell_failure(const run_frame *frame, const char *function, const command_line *command)
{
    const char *argument =
        frame->failed_shows == boarddiag::shown::command ? command->text : boarddiag::tool_failed_mark;

    if (frame->failed == nullptr) {
        return;
    }
    if (frame->failed_level < 0) {
        REPORT_FOLLOW_UP(function, frame->failed, argument);
    } else {
        diag_print(frame->failed_level, frame->failed, argument);
    }
}

} // namespace

bool boarddiag::is_dry_run()
{
    return get_debug_enable() != 0;
}

bool boarddiag::dry_read(uint8_t *data)
{
    if (is_dry_run()) {
        data[0] = dry_run_byte;
        return true;
    }
    return false;
}

uint32_t boarddiag::fifo_read(fifo_call *call, const command_line *command)
{
    if (dry_read(static_cast<uint8_t *>(call->data))) {
        return 0;
    }
    const uint32_t status = fifo_run_begin(call);
    return status != 0 ? status : fifo_run_end(call, 0, command);
}

uint32_t boarddiag::plain_run(const run_frame *frame, const char *function, const command_line *command,
                              int32_t count)
{
    if (show_instead(frame, function, command)) {
        return 0;
    }
    diag_print(frame->traced_level, frame->traced, command->text);
    const int status = run_command(command->text);
    if (status != 0) {
        note_failed_run(command->text, status);
        tell_failure(frame, function, command);
        return frame->failed_status != 0 ? frame->failed_status : static_cast<uint32_t>(status);
    }
    if (frame->done != nullptr) {
        diag_print(1, frame->done, count);
    }
    return 0;
}

std::span<const uint8_t> boarddiag::values_of(const uint8_t *data, int32_t count)
{
    return {data, count > 0 ? static_cast<size_t>(count) : 0};
}

void boarddiag::append_values(command_line *command, const value_format *format,
                              std::span<const uint8_t> values)
{
    const char *next = format->first;

    for (const uint8_t value : values) {
        if (command->length + 1 >= command_size) {
            return; // full: nothing of the rest would show
        }
        command_append(command, next, value);
        next = format->later;
    }
}
