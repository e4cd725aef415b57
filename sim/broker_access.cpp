/* SPDX-License-Identifier: MIT */
#include "broker_access.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "devices.h"
#include "options.h"

namespace boardsim {

namespace {

constexpr uint8_t support_no_data = 0x01; // a write that only addresses the device
constexpr size_t max_asset_id = 31;
constexpr size_t address_text = 8 + 1 + 4 + 1 + 2; // address, count, width: what a write's answer repeats

bool take_comma(std::string_view &text)
{
    const bool good = text.starts_with(',');
    text.remove_prefix(good ? 1 : 0);
    return good;
}

/// Each byte behind a comma, to the end of the text.
bool take_bytes(std::string_view text, std::vector<uint8_t> &bytes)
{
    while (!text.empty()) {
        uint32_t byte = 0;
        if (!take_comma(text) || !take_hex(text, 2, byte)) {
            return false;
        }
        bytes.push_back(static_cast<uint8_t>(byte));
    }
    return true;
}

bool read_access(std::string_view text, bool is_write, bus_work &work)
{
    uint32_t width = 0;
    uint32_t code = 0;
    if (!take_hex(text, 8, work.address) || !take_comma(text) || !take_hex(text, 4, work.count) ||
        !take_comma(text) || !take_hex(text, 2, width) || !take_comma(text) || !take_hex(text, 2, code)) {
        return false;
    }
    return is_write ? take_bytes(text, work.bytes) && work.bytes.size() == work.count : text.empty();
}

/// At least four digits; the highest argument has five.
bool read_dynamic_id(std::string_view text, bus_work &work)
{
    if (!take_hex(text, 4, work.dynamic_id) || !take_comma(text)) {
        return false;
    }
    const std::string_view argument = text;
    for (; !text.empty() && text[0] >= '0' && text[0] <= '9' && work.dynamic_arg <= UINT16_MAX;
         text.remove_prefix(1)) {
        work.dynamic_arg = work.dynamic_arg * 10 + static_cast<uint32_t>(text[0] - '0');
    }
    const bool padded = argument.size() == 4 || (argument.size() == 5 && argument[0] != '0');
    return padded && text.empty() && work.dynamic_arg <= UINT16_MAX;
}

bool read_bus_device(std::string_view text)
{
    uint32_t flag = 0;
    for (unsigned i = 0; i < 4; i++) {
        uint32_t value = 0;
        if (!take_hex(text, 2, value) || !take_comma(text)) {
            return false;
        }
        flag = i == 0 ? value : flag;
    }
    const bool decimal = text.size() >= 2 &&
                         std::ranges::all_of(text.substr(0, 2), [](char c) { return c >= '0' && c <= '9'; });
    text.remove_prefix(std::min<size_t>(text.size(), 2));
    if (!decimal || flag != 0) {
        return decimal && text.empty();
    }
    return take_comma(text) && text.size() <= max_asset_id;
}

enum class bus_space : uint8_t { none, lpc, memory, i2c };

struct bus_target {
    bus_space space = bus_space::none;
    i2c_address device = {};
    mailbox_latch *latch = nullptr;
};

/// "i2c-3-0x50": the bus before the last dash, the address behind it.
bool choose_i2c(std::string_view dev_id, i2c_address &device)
{
    const size_t dash = dev_id.rfind('-');
    if (!dev_id.starts_with("i2c-") || dash == std::string_view::npos) {
        return false;
    }
    const std::optional<uint64_t> address = parse_number(dev_id.substr(dash + 1), hex2_byte);
    device = {dev_id.substr(0, dash), static_cast<unsigned>(address.value_or(0))};
    return address.has_value();
}

bus_target choose_target(const bus_message &request, mailbox_latch &latch)
{
    bus_target target;
    target.latch = &latch;
    if (request.dev_name == "lpc" || request.dev_name == "fpga") {
        target.space = bus_space::lpc;
    } else if (request.dev_name == "mem") {
        target.space = bus_space::memory;
    } else if (choose_i2c(request.dev_id, target.device)) {
        target.space = bus_space::i2c;
    }
    return target;
}

bool restore_latch(board &b, const mailbox_latch &latch, uint32_t address)
{
    if ((address != mailbox_read_data && address != mailbox_write_data) || !latch.high || !latch.low) {
        return true;
    }
    const std::array<uint8_t, 2> both = {*latch.high, *latch.low};
    return lpc_write(b, mailbox_high_address, both);
}

bool write_lpc(board &b, mailbox_latch &latch, const bus_work &work)
{
    if (!restore_latch(b, latch, work.address) || !lpc_write(b, work.address, work.bytes)) {
        return false;
    }
    for (size_t i = 0; i < work.bytes.size(); i++) {
        if (work.address + i == mailbox_high_address) {
            latch.high = work.bytes[i];
        } else if (work.address + i == mailbox_low_address) {
            latch.low = work.bytes[i];
        }
    }
    return true;
}

bool read_device(board &b, const bus_target &target, uint32_t address, std::span<uint8_t> out)
{
    switch (target.space) {
    case bus_space::lpc:
        return restore_latch(b, *target.latch, address) && lpc_read(b, address, out);
    case bus_space::memory:
        return image_read(b, mem_image, address, out);
    default:
        return i2c_read(b, target.device, address, out);
    }
}

bool write_device(board &b, const bus_target &target, const bus_work &work)
{
    const bool no_data = work.support == std::vector{support_no_data};
    switch (target.space) {
    case bus_space::lpc:
        return write_lpc(b, *target.latch, work);
    case bus_space::memory:
        return image_write(b, mem_image, work.address, work.bytes);
    default:
        return no_data ? i2c_probe(b, target.device)
                       : i2c_write(b, target.device, work.address, work.bytes, false);
    }
}

std::string read_answer(board &b, const bus_message &request, const bus_work &work, mailbox_latch &latch)
{
    const bus_target target = choose_target(request, latch);
    const std::string success = worded_answer(request, word_success);
    char number[8];
    std::snprintf(number, sizeof number, ",%x,", work.count);
    if (target.space == bus_space::none) {
        return worded_answer(request, word_no_device);
    }
    if (success.size() + std::string_view(number).size() + 2 * size_t{work.count} > max_data_text) {
        return worded_answer(request, word_too_long);
    }
    std::vector<uint8_t> bytes(work.count);
    if (!read_device(b, target, work.address, bytes)) {
        return worded_answer(request, word_failed);
    }
    std::string text = success + number;
    for (const uint8_t byte : bytes) {
        std::snprintf(number, sizeof number, "%02x", byte);
        text += number;
    }
    return text;
}

std::string write_answer(board &b, const bus_message &request, const bus_work &work, mailbox_latch &latch)
{
    const bus_target target = choose_target(request, latch);
    if (target.space == bus_space::none) {
        return worded_answer(request, word_no_device);
    }
    if (!write_device(b, target, work)) {
        return worded_answer(request, word_failed);
    }
    return worded_answer(request, word_success) + ',';
}

std::string dynamic_id_answer(const bus_work &work, const broker_settings &settings)
{
    const auto named = settings.dynamic_ids.find(static_cast<uint16_t>(work.dynamic_id));
    char name[32];
    std::snprintf(name, sizeof name, "dyn-%04x-%u", work.dynamic_id, work.dynamic_arg);
    return std::string(word_success) + ',' + (named == settings.dynamic_ids.end() ? name : named->second);
}

} // namespace

std::optional<bus_work> read_work(const bus_message &request)
{
    bus_work work;
    bool good = false;
    switch (request.type) {
    case type_read:
    case type_write:
        good = read_access(request.data, request.type == type_write, work);
        break;
    case type_dynamic_id:
        good = read_dynamic_id(request.data, work);
        break;
    case type_bus_device:
        good = read_bus_device(request.data);
        break;
    default:
        good = request.data.empty();
    }
    if (!good || !take_bytes(request.support, work.support)) {
        return std::nullopt;
    }
    return work;
}

std::string worded_answer(const bus_message &request, std::string_view word)
{
    std::string text;
    if (request.type == type_read) {
        text = request.data + ',';
    } else if (request.type == type_write) {
        text = request.data.substr(0, address_text) + ',';
    }
    return text.append(word);
}

std::string carry_out(board &b, const bus_message &request, const bus_work &work,
                      const broker_settings &settings, mailbox_latch &latch)
{
    switch (request.type) {
    case type_read:
        return read_answer(b, request, work, latch);
    case type_write:
        return write_answer(b, request, work, latch);
    case type_dynamic_id:
        return dynamic_id_answer(work, settings);
    case type_query:
        return std::string(settings.not_found ? word_not_found : word_success);
    default:
        return std::string(word_success);
    }
}

} // namespace boardsim
