/* SPDX-License-Identifier: MIT */
#include "devices.h"
#include "message.h"
#include "tools.h"

namespace boardsim {

namespace {

using enum option_kind;
using enum presence;

constexpr unsigned narrow = 8;
constexpr unsigned wide = 16;

constexpr option_spec read_options[] = {
    {"read", flag, required},
    {"bus", word, required},
    {"addr", number, required, hex2_byte},
    {"count", number, required, decimal_form},
    {"pipe", word, required},
    {"width", number, required, decimal_form},
    {"no_control", flag, optional},
    {"reg", number, one_of, hex2_byte},
    {"reg16", number, one_of, hex4_word},
    {"regblock", number, one_of, hex2_byte},
    {"reg_le", flag, optional},
};

constexpr option_spec write_options[] = {
    {"write", flag, required},
    {"bus", word, required},
    {"addr", number, required, hex2_byte},
    {"width", number, required, decimal_form},
    {"flag", may_empty, optional},
    {"busbroker_req", flag, optional},
    {"no_control", flag, optional},
    {"reg", number, one_of, hex2_byte},
    {"reg16", number, one_of, hex4_word},
    {"regblock", number, one_of, hex4_word},
    {"val", list, required, hex2_byte},
    {"reg_le", flag, optional},
};

constexpr option_spec no_data_options[] = {
    {"no_data", flag, required},
    {"bus", word, required},
    {"addr", number, required, hex2_byte},
};

bool good_width(const option_values &values)
{
    const uint64_t width = number_of(values, "width");
    if (width != narrow && width != wide) {
        complain_usage("--width is 8 or 16");
        return false;
    }
    return true;
}

i2c_address device_of(const option_values &values)
{
    return {text_of(values, "bus"), static_cast<unsigned>(number_of(values, "addr"))};
}

uint32_t register_of(const option_values &values)
{
    // Only one of the three is given; the others read as 0.
    return static_cast<uint32_t>(number_of(values, "reg") | number_of(values, "reg16") |
                                 number_of(values, "regblock"));
}

int read_register(tool_run &run, const option_values &values)
{
    if (!good_width(values)) {
        return status_usage;
    }
    std::vector<uint8_t> bytes;
    if (!sized(bytes, number_of(values, "count"))) {
        return status_usage;
    }
    if (!i2c_read(run.b, device_of(values), register_of(values), bytes)) {
        return status_device;
    }
    return deliver(run, text_of(values, "pipe"), std::move(bytes));
}

int write_register(tool_run &run, const option_values &values)
{
    const std::string_view flags = text_of(values, "flag");
    if (!flags.empty() && flags != "pec") {
        complain_usage("--flag is pec or empty");
        return status_usage;
    }
    if (!good_width(values)) {
        return status_usage;
    }
    const std::vector<uint8_t> bytes = bytes_of(values, "val");
    return i2c_write(run.b, device_of(values), register_of(values), bytes, flags == "pec") ? status_ok
                                                                                           : status_device;
}

int address_only(tool_run &run, const option_values &values)
{
    return i2c_probe(run.b, device_of(values)) ? status_ok : status_device;
}

constexpr command_form forms[] = {
    {"read", read_options, read_register},
    {"write", write_options, write_register},
    {"no_data", no_data_options, address_only},
};

} // namespace

const tool i2ctool = {"i2ctool", forms, nullptr};

} // namespace boardsim
