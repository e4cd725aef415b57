/* SPDX-License-Identifier: MIT */
// I2C behind the management controller: one OEM request that writes some bytes and then reads some.
#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstring>
#include <utility>

#include <boarddiag/access.h>
#include <boarddiag/core.h>

#include "access/ipmi_text.h"
#include "access/pipe_read.h"
#include "access/tool.h"
#include "core/report.h"

namespace {

using boarddiag::command_line;
using boarddiag::pipe_text;
using boarddiag::placed_pairs;
using boarddiag::value_format;

// ---- What the two pairs of calls differ in ----

constexpr value_format data_words = {" 0x%2.02x", " 0x%2.02x"};

struct read_variant {
    value_format register_words;
    const char *response_traced;
};

constexpr read_variant get_variant = {{"0x%2.02x ", "0x%2.02x "}, "ipmii2c_get:[%s]\n"};
constexpr read_variant get2_variant = {{"0x%2.02x", " 0x%2.02x"}, "ipmii2c_get:%s\n"};

struct write_variant {
    value_format register_words;
    const char *redirection;
};

constexpr write_variant set_variant = {{" 0x%2.02x ", " 0x%2.02x "}, " 1>/dev/null"};
constexpr write_variant set2_variant = {data_words, " 2>/dev/null"};

constexpr boarddiag::pipe_frame read_frame = {
    .traced_level = 1,
    .traced = "ipmii2c_get: %s\n",
    .start_failed = "sys cmd exec failed!\n",
    .reads_to_end = false,
};

constexpr boarddiag::run_frame write_frame = {
    .traced_level = 1,
    .traced = "ipmii2c_set: %s\n",
    .failed_level = -1,
    .failed = "%s\nError writing to I2C device\n",
    .failed_shows = boarddiag::shown::failed_mark,
    .failed_status = boarddiag::status_minus_one,
    .done = nullptr,
    .dry = boarddiag::dry_run::runs,
};

// ---- The first steps of all four calls ----

struct device {
    const char *bus;
    uint8_t addr;
    uint16_t reg;
    const struct reg_info *reg_info;
};

// A device as its request names it.
struct target {
    int bus;
    uint8_t addr;
    std::array<uint8_t, 2> reg; // in the order in which they are sent
    size_t reg_size;
    size_t value_size; // bytes of a value
};

size_t value_size(const char *function, uint32_t data_width)
{
    switch (data_width) {
    case DATA8:
    case DATABLK:
        return 1;
    case DATA16:
        return 2;
    default:
        REPORT_ERROR(function, "Invalid width size %d\n", static_cast<int>(data_width));
        return 0;
    }
}

size_t register_size(const char *function, uint32_t reg_mode)
{
    if (reg_mode != REG8 && reg_mode != REG16) {
        REPORT_ERROR(function, "Invalid Addressing mode %d\n", static_cast<int>(reg_mode));
        return 0;
    }
    return reg_mode == REG8 ? 1 : 2;
}

bool find_bus(const char *function, const char *bus, int *number)
{
    if (bus != nullptr && strlen(bus) > boarddiag::max_bus_text) {
        REPORT_ERROR(function, "Ipmi i2c bus text is longer than %d characters\n",
                     static_cast<int>(boarddiag::max_bus_text));
        return false;
    }
    if (bus == nullptr || !boarddiag::bus_number_of_second_piece(bus, number)) {
        REPORT_ERROR(function, "Invalid ipmi i2c bus Format \n");
        return false;
    }
    return true;
}

void set_register(target *found, uint16_t reg)
{
    const auto sent = static_cast<uint16_t>(found->reg_size == found->reg.size() ? byte_swap(reg, 16) : reg);

    memcpy(found->reg.data(), &sent, sizeof sent);
}

bool check_reg_info(const char *function, const struct reg_info *reg_info)
{
    if (reg_info == nullptr) {
        REPORT_ERROR(function, "Invalid reg_info pointer\n");
        return false;
    }
    return true;
}

// The steps behind the null checks.
uint32_t find_target(const char *function, const device *wanted, target *found)
{
    found->addr = wanted->addr;
    found->value_size = value_size(function, wanted->reg_info->data_width);
    if (found->value_size == 0) {
        return boarddiag::status_minus_one;
    }
    found->reg_size = register_size(function, wanted->reg_info->reg_mode);
    if (found->reg_size == 0) {
        return boarddiag::status_minus_one;
    }
    if (!find_bus(function, wanted->bus, &found->bus)) {
        return DIAG_ERR_INVALID_ARG;
    }
    set_register(found, wanted->reg);
    return 0;
}

void begin_request(command_line *command, const target *found, uint32_t read_size)
{
    boarddiag::command_format(command, "%s raw 0x3a 0x01 0x%2.02x 0x%2.02x 0x%2.02x", boarddiag::ipmi_tool,
                              static_cast<unsigned>(found->bus), found->addr, read_size);
}

std::span<const uint8_t> register_bytes(const target *found)
{
    return std::span(found->reg).first(found->reg_size);
}

// ---- Reads ----

struct answer {
    const read_variant *variant;
    int32_t count; // of values
    size_t value_size;
    uint8_t *data;
};

uint32_t tell_failed_read()
{
    diag_print(2, "%s\nError Reading %d bytes from IPMII2C\n", boarddiag::tool_failed_mark, 0);
    return boarddiag::status_minus_one;
}

// Words are sent most significant byte first.
void order_words(std::span<uint8_t> bytes)
{
    for (size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::swap(bytes[i], bytes[i + 1]);
    }
}

void take_values(pipe_text *text, std::string_view block, std::span<char> buffer, const answer *wanted)
{
    placed_pairs pairs = {};

    pairs.dest = {wanted->data, static_cast<size_t>(wanted->count) * wanted->value_size};
    while (!block.empty() && boarddiag::take_block(&pairs, block)) {
        block = boarddiag::next_block(text, buffer);
    }
    boarddiag::end_pairs(&pairs);
    if (wanted->value_size == 2) {
        order_words(pairs.dest);
    }
}

// 0 when the text may be parsed.
uint32_t check_response(std::string_view block, const answer *wanted)
{
    if (block.empty()) {
        diag_print(2, "fgets read ERR from the fifo\n");
        return wanted->count == 0 ? 0 : tell_failed_read();
    }
    boarddiag::show_text(2, wanted->variant->response_traced, block);
    if (block.front() != ' ') {
        diag_print(2, "ipmi read data err, 0x%x!\n", static_cast<uint8_t>(block.front()));
        return boarddiag::status_minus_one;
    }
    return wanted->count >= 0 ? 0 : tell_failed_read();
}

uint32_t take_response(pipe_text *text, void *context)
{
    const auto *wanted = static_cast<const answer *>(context);
    char buffer[1024]; // as much of the response as its trace can show
    const std::string_view block = boarddiag::next_block(text, buffer);
    const uint32_t status = check_response(block, wanted);

    if (status != 0) {
        return status;
    }
    if (wanted->count > 0) {
        take_values(text, block, buffer, wanted);
    }
    diag_print(boarddiag::bytes_read_level, boarddiag::bytes_read_traced, wanted->count);
    return 0;
}

uint32_t read_device(const char *function, const read_variant *variant, const device *wanted, int32_t count,
                     uint8_t *data)
{
    target found;
    command_line command;

    const uint32_t status = find_target(function, wanted, &found);
    if (status != 0) {
        return status;
    }
    const int64_t size = static_cast<int64_t>(count) * static_cast<int64_t>(found.value_size);
    begin_request(&command, &found, static_cast<uint32_t>(size));
    boarddiag::command_append(&command, " ");
    boarddiag::append_values(&command, &variant->register_words, register_bytes(&found));
    boarddiag::command_append(&command, " 2>/dev/null");

    answer response = {variant, count, found.value_size, data};
    const boarddiag::pipe_call call = {&read_frame, function, size, take_response, &response};
    return boarddiag::pipe_read(&call, &command);
}

// ---- Writes ----

// What a write sends behind the read count, as the PEC covers it, and the PEC.
struct sent_bytes {
    std::array<uint8_t, 30> bytes;
    size_t size;
};

bool check_size(const char *function, const sent_bytes *sent, uint64_t size)
{
    if (size > sent->bytes.size()) {
        REPORT_ERROR(function, "Write of %" PRIu64 " bytes is longer than %zu bytes\n", size,
                     sent->bytes.size());
        return false;
    }
    return true;
}

void collect(sent_bytes *sent, const target *found, std::span<const uint8_t> data)
{
    const auto reg_end = std::ranges::copy(register_bytes(found), sent->bytes.begin()).out;
    std::ranges::copy(data, reg_end);
    sent->size = found->reg_size + data.size();
    if (found->value_size == 2) {
        order_words(std::span(sent->bytes).subspan(found->reg_size, data.size()));
    }
}

uint32_t write_device(const char *function, const write_variant *variant, const device *wanted,
                      const uint8_t *data, int32_t count, int32_t flag)
{
    target found;
    sent_bytes sent = {};
    command_line command;

    if (!check_reg_info(function, wanted->reg_info)) {
        return boarddiag::status_minus_one;
    }
    const uint32_t status = find_target(function, wanted, &found);
    if (status != 0) {
        return status;
    }
    const uint64_t data_size = static_cast<uint64_t>(std::max(count, 0)) * found.value_size;
    if (!check_size(function, &sent, found.reg_size + data_size + (flag != 0 ? 1 : 0))) {
        return DIAG_ERR_INVALID_ARG;
    }
    collect(&sent, &found, {data, static_cast<size_t>(data_size)});
    if (flag != 0) {
        add_pec(found.addr, sent.bytes.data(), static_cast<int32_t>(sent.size));
        sent.size++;
    }
    begin_request(&command, &found, 0);
    boarddiag::append_values(&command, &variant->register_words, register_bytes(&found));
    boarddiag::append_values(&command, &data_words,
                             std::span(sent.bytes).first(sent.size).subspan(found.reg_size));
    boarddiag::command_append(&command, "%s", variant->redirection);
    return boarddiag::plain_run(&write_frame, function, &command);
}

} // namespace

uint32_t ipmii2c_get(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                     int32_t count, const char *pipe, uint8_t *data)
{
    const device wanted = {bus, addr, reg, reg_info};

    static_cast<void>(pipe);
    if (!check_reg_info(__func__, reg_info)) {
        return boarddiag::status_minus_one;
    }
    if (data == nullptr) {
        REPORT_ERROR(__func__, "r_data is NULL\n");
        return boarddiag::status_minus_one;
    }
    return read_device(__func__, &get_variant, &wanted, count, data);
}

uint32_t ipmii2c2_get(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                      int32_t count, uint8_t *data)
{
    const device wanted = {bus, addr, reg, reg_info};

    if (!check_reg_info(__func__, reg_info)) {
        return boarddiag::status_minus_one;
    }
    return read_device(__func__, &get2_variant, &wanted, count, data);
}

uint32_t ipmii2c_set(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                     const uint8_t *data, int32_t count, int32_t flag)
{
    const device wanted = {bus, addr, reg, reg_info};

    return write_device(__func__, &set_variant, &wanted, data, count, flag);
}

uint32_t ipmii2c2_set(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                      const uint8_t *data, int32_t count, int32_t flag)
{
    const device wanted = {bus, addr, reg, reg_info};

    return write_device(__func__, &set2_variant, &wanted, data, count, flag);
}
