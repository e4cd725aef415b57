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
    {"chip", number, required, decimal_form},
    {"pin", number, required, decimal_form},
    {"pipe", word, required},
};

constexpr option_spec set_options[] = {
    {"set", flag, required},
    {"chip", number, required, decimal_form},
    {"pin", number, required, decimal_form},
    {"val", number, required, {10, 1, UINT8_MAX}},
    {"busbroker_req", flag, optional},
};

std::string image_of(const option_values &values)
{
    return gpio_image(static_cast<unsigned>(number_of(values, "chip")));
}

int get_pin(tool_run &run, const option_values &values)
{
    std::vector<uint8_t> state(1);
    if (!image_read(run.b, image_of(values), number_of(values, "pin"), state)) {
        return status_device;
    }
    return deliver(run, text_of(values, "pipe"), std::move(state));
}

int set_pin(tool_run &run, const option_values &values)
{
    const std::vector<uint8_t> level = bytes_of(values, "val");
    return image_write(run.b, image_of(values), number_of(values, "pin"), level) ? status_ok : status_device;
}

constexpr command_form forms[] = {
    {"get", get_options, get_pin},
    {"set", set_options, set_pin},
};

} // namespace

const tool gpiotool = {"gpiotool", forms, nullptr};

} // namespace boardsim
