/* SPDX-License-Identifier: MIT */
#include "devices.h"
#include "message.h"
#include "tools.h"

namespace boardsim {

namespace {

using enum option_kind;
using enum presence;

constexpr option_spec get_options[] = {
    {"get", flag, required},  {"addr", number, required, hex8_long},
    {"size", word, required}, {"count", number, required, decimal_form},
    {"pipe", word, required},
};

constexpr option_spec write_options[] = {
    {"write", flag, required},         {"addr", number, required, hex8_long}, {"size", word, required},
    {"busbroker_req", flag, optional}, {"val", list, required, hex1_byte},
};

bool good_size(const option_values &values)
{
    const std::string_view size = text_of(values, "size");
    if (size != "b" && size != "w" && size != "l") {
        complain_usage("--size is b, w or l");
        return false;
    }
    return true;
}

int get_registers(tool_run &run, const option_values &values)
{
    std::vector<uint8_t> bytes;
    if (!good_size(values) || !sized(bytes, number_of(values, "count"))) {
        return status_usage;
    }
    if (!lpc_read(run.b, static_cast<uint32_t>(number_of(values, "addr")), bytes)) {
        return status_device;
    }
    return deliver(run, text_of(values, "pipe"), std::move(bytes));
}

int write_registers(tool_run &run, const option_values &values)
{
    if (!good_size(values)) {
        return status_usage;
    }
    const std::vector<uint8_t> bytes = bytes_of(values, "val");
    const bool good = lpc_write(run.b, static_cast<uint32_t>(number_of(values, "addr")), bytes);
    return good ? status_ok : status_device;
}

constexpr command_form forms[] = {
    {"get", get_options, get_registers},
    {"write", write_options, write_registers},
};

} // namespace

const tool lpctool = {"lpctool", forms, nullptr};

} // namespace boardsim
