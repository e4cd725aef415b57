/* SPDX-License-Identifier: MIT */
#include "devices.h"
#include "message.h"
#include "tools.h"

namespace boardsim {

namespace {

using enum option_kind;
using enum presence;

constexpr option_spec get_options[] = {
    {"get", flag, required},
    {"bus", number, required, decimal_form},
    {"dev", number, required, decimal_form},
    {"func", number, required, decimal_form},
    {"offset", number, required, hex2_long},
    {"pipe", word, required},
    {"count", number, required, decimal_form},
    {"width", number, required, decimal_form},
};

constexpr option_spec write_options[] = {
    {"write", flag, required},
    {"bus", number, required, hex2_long},
    {"dev", number, required, hex2_long},
    {"func", number, required, hex2_long},
    {"offset", number, required, hex2_long},
    {"busbroker_req", flag, optional},
    {"width", number, optional, decimal_form},
    {"val", list, required, hex2_byte},
};

bool good_width(const option_values &values)
{
    const uint64_t width = number_of(values, "width");
    if (width != 8 && width != 16 && width != 32) {
        complain_usage("--width is 8, 16 or 32");
        return false;
    }
    return true;
}

std::string image_of(const option_values &values)
{
    return pci_image(static_cast<unsigned>(number_of(values, "bus")),
                     static_cast<unsigned>(number_of(values, "dev")),
                     static_cast<unsigned>(number_of(values, "func")));
}

int get_config(tool_run &run, const option_values &values)
{
    std::vector<uint8_t> bytes;
    if (!good_width(values) || !sized(bytes, number_of(values, "count"))) {
        return status_usage;
    }
    if (!image_read(run.b, image_of(values), number_of(values, "offset"), bytes)) {
        return status_device;
    }
    return deliver(run, text_of(values, "pipe"), std::move(bytes));
}

int write_config(tool_run &run, const option_values &values)
{
    if (given(values, "busbroker_req") != given(values, "width")) {
        complain_usage("--busbroker_req and --width go together");
        return status_usage;
    }
    if (given(values, "width") && !good_width(values)) {
        return status_usage;
    }
    const std::vector<uint8_t> bytes = bytes_of(values, "val");
    const bool good = image_write(run.b, image_of(values), number_of(values, "offset"), bytes);
    return good ? status_ok : status_device;
}

constexpr command_form forms[] = {
    {"get", get_options, get_config},
    {"write", write_options, write_config},
};

} // namespace

const tool pcitool = {"pcitool", forms, nullptr};

} // namespace boardsim
