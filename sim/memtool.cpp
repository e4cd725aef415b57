/* SPDX-License-Identifier: MIT */
#include <algorithm>

#include "devices.h"
#include "message.h"
#include "tools.h"

namespace boardsim {

namespace {

using enum option_kind;
using enum presence;

constexpr option_spec get_options[] = {
    {"get", flag, required},
    {"addr", number, required, hex8_long},
    {"count", number, required, decimal_form},
    {"width", number, required, decimal_form},
    {"pipe", word, required},
    {"be", flag, optional},
};

constexpr option_spec write_options[] = {
    {"write", flag, required},
    {"busbroker", flag, optional},
    {"addr", number, required, hex8_long},
    {"width", number, required, decimal_form},
    {"val", list, required, hex1_any},
};

// The bytes of an item; 0, told, for a width that memory does not have.
size_t item_bytes(const option_values &values)
{
    const uint64_t width = number_of(values, "width");
    if (width != 8 && width != 16 && width != 32 && width != 64) {
        complain_usage("--width is 8, 16, 32 or 64");
        return 0;
    }
    return static_cast<size_t>(width / 8);
}

void reverse_items(std::vector<uint8_t> &bytes, size_t item)
{
    for (auto at = bytes.begin(); at != bytes.end(); at += static_cast<ptrdiff_t>(item)) {
        std::reverse(at, at + static_cast<ptrdiff_t>(item));
    }
}

int get_items(tool_run &run, const option_values &values)
{
    const size_t item = item_bytes(values);
    std::vector<uint8_t> bytes;
    if (item == 0 || !sized(bytes, number_of(values, "count") * item)) {
        return status_usage;
    }
    if (!image_read(run.b, mem_image, number_of(values, "addr"), bytes)) {
        return status_device;
    }
    if (given(values, "be")) {
        reverse_items(bytes, item);
    }
    return deliver(run, text_of(values, "pipe"), std::move(bytes));
}

// Items as they lie in memory, least significant byte first; false when one does not fit the width.
bool lay_out(std::span<const uint64_t> items, size_t item, std::vector<uint8_t> &bytes)
{
    for (uint64_t value : items) {
        for (size_t i = 0; i < item; i++) {
            bytes.push_back(static_cast<uint8_t>(value));
            value >>= 8;
        }
        if (value != 0) {
            complain_usage("a value has more than %zu bits", item * 8);
            return false;
        }
    }
    return true;
}

int write_items(tool_run &run, const option_values &values)
{
    const size_t item = item_bytes(values);
    std::vector<uint8_t> bytes;
    if (item == 0 || !lay_out(numbers_of(values, "val"), item, bytes)) {
        return status_usage;
    }
    return image_write(run.b, mem_image, number_of(values, "addr"), bytes) ? status_ok : status_device;
}

constexpr command_form forms[] = {
    {"get", get_options, get_items},
    {"write", write_options, write_items},
};

} // namespace

const tool memtool = {"memtool", forms, nullptr};

} // namespace boardsim
