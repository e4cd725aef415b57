/* SPDX-License-Identifier: MIT */
#include "devices.h"
#include "message.h"
#include "tools.h"

namespace boardsim {

namespace {

using enum option_kind;
using enum presence;

constexpr option_spec query_options[] = {
    {"query", flag, required},
    {"pipe", word, required},
    {"busbroker", flag, optional},
};

int query(tool_run &run, const option_values &values)
{
    const std::optional<uint64_t> size = image_size(run.b, nvram_image);
    if (size.value_or(nvram_bytes) != nvram_bytes) {
        complain("%s is not a record of %u bytes", nvram_image, nvram_bytes);
        return status_device;
    }
    std::vector<uint8_t> record(nvram_bytes);
    if (!size || !image_read(run.b, nvram_image, 0, record)) {
        return status_device;
    }
    return deliver(run, text_of(values, "pipe"), std::move(record));
}

constexpr command_form forms[] = {{"query", query_options, query}};

} // namespace

const tool nvramtool = {"nvramtool", forms, nullptr};

} // namespace boardsim
