/* SPDX-License-Identifier: MIT */
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <boarddiag/access.h>
#include <boarddiag/core.h>

#include "access/tool.h"
#include "core/report.h"

namespace {

using boarddiag::command_line;

constexpr boarddiag::fifo_frame read_frame = {
    .create_failed = "Error Creating Mem pipe\n",
    .open_failed = "Could Not open End of mem Pipe \n",
    .command_traced = "Calling %s\n",
    .run_failed = "%s\nError Reading from MEM\n",
    .failed_status = 0,
    .count_level = boarddiag::bytes_read_level,
    .count_traced = boarddiag::bytes_read_traced,
};

constexpr boarddiag::run_frame write_frame = {
    .traced_level = 1,
    .traced = read_frame.command_traced,
    .failed_level = -1,
    .failed = "%s\nError Writing to  MEM\n",
    .failed_shows = boarddiag::shown::failed_mark,
    .failed_status = 0,
    .done = "%d bytes written to memory\n",
    .dry = boarddiag::dry_run::runs,
};

// The bytes that `count` items of `width` bits take; 0 when their bits do not fit 32 bits, signed.
int64_t bytes_of(int32_t count, int32_t width)
{
    const int64_t bits = static_cast<int64_t>(count) * width;

    return bits > INT32_MAX || bits < INT32_MIN ? 0 : bits / 8;
}

struct item_list {
    const uint8_t *data;
    int32_t width; // of an item in bits
    int32_t count;
};

// The text of the items, as long as they get; an own block because only its end tells whether it fits.
struct list_text {
    char *text;
    size_t size;
    size_t length;
};

bool allocate_text(const item_list *items, list_text *list)
{
    const int64_t characters = static_cast<int64_t>(items->width) / 8 * 2 + 3;
    int64_t size = 0;

    // A width that no item can have is refused at the first item. A negative size is one that nobody has.
    if (__builtin_mul_overflow(characters, static_cast<int64_t>(items->count), &size) || size < -1 ||
        static_cast<uint64_t>(size + 1) >= SIZE_MAX) {
        return false;
    }
    list->size = static_cast<size_t>(size + 1);
    list->text = static_cast<char *>(calloc(std::max<size_t>(list->size, 1), 1));
    return list->text != nullptr;
}

bool is_supported_width(int32_t width)
{
    return width == 8 || width == 16 || width == 32 || width == 64;
}

void append_items(const item_list *items, list_text *list)
{
    const size_t item_size = static_cast<size_t>(items->width) / 8;

    for (size_t i = 0; i < static_cast<size_t>(std::max(items->count, 0)); i++) {
        uint64_t item = 0;
        memcpy(&item, items->data + i * item_size, item_size);
        list->length += static_cast<size_t>(
            snprintf(list->text + list->length, list->size - list->length, "0x%" PRIx64 ",", item));
    }
    if (list->length != 0) {
        list->text[--list->length] = '\0'; // the comma behind the last item
    }
}

uint32_t write_items(const char *function, command_line *command, const item_list *items, list_text *list)
{
    if (items->count > 0 && !is_supported_width(items->width)) {
        REPORT_ERROR(function, "Invalid width. Only 8, 16, 32 and 64 are supported widths.\n");
        return DIAG_ERR_FAILED;
    }
    append_items(items, list);
    if (command->length + list->length >= SYS_CMD_MAX_SIZE) {
        REPORT_ERROR(function, "The length of command is longer than SYS_CMD_MAX_SIZE\n");
        diag_print(1, "The length of sys_cmd: %d\nsys_cmd:%s\n", static_cast<int>(command->length),
                   command->text);
        diag_print(1, "The length of data: %d\ndata:\n%s\n", static_cast<int>(list->length), list->text);
        return boarddiag::status_minus_one;
    }
    boarddiag::command_append(command, "%s", list->text);
    return boarddiag::plain_run(&write_frame, function, command, items->count);
}

} // namespace

uint32_t memtool_get(uint32_t addr, int32_t count, int32_t width, const char *pipe, uint8_t be, uint8_t *data)
{
    boarddiag::fifo_call call = {&read_frame, __func__, pipe, data, bytes_of(count, width), -1, 0};
    command_line command;

    boarddiag::command_format(&command, "%s --get --addr=0x%08x --count=%d --width=%d --pipe=%s",
                              boarddiag::mem_tool, addr, count, width, pipe);
    if (be != 0) {
        boarddiag::command_append(&command, " --be");
    }
    return boarddiag::fifo_read(&call, &command);
}

uint32_t memtool_set(uint32_t addr, int32_t width, const void *data, int32_t count, uint8_t busbroker)
{
    const item_list items = {static_cast<const uint8_t *>(data), width, count};
    list_text list = {};
    command_line command;

    if (!allocate_text(&items, &list)) {
        REPORT_ERROR(__func__, "Could not allocate space for params of memtool\n");
        return boarddiag::status_minus_one;
    }
    boarddiag::command_format(&command, "%s --write%s --addr=0x%08x --width=%d --val=", boarddiag::mem_tool,
                              busbroker != 0 ? " --busbroker" : "", addr, width);
    const uint32_t status = write_items(__func__, &command, &items, &list);
    free(list.text);
    return status;
}
