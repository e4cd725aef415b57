/* SPDX-License-Identifier: MIT */
// Raw IPMI requests through ipmitool.
#include <algorithm>
#include <array>

#include <boarddiag/access.h>

#include "access/ipmi_text.h"
#include "access/pipe_read.h"
#include "access/tool.h"
#include "core/report.h"

namespace {

using boarddiag::command_line;
using boarddiag::pipe_text;
using boarddiag::placed_pairs;

// ---- The controller's requests ----

constexpr unsigned bus_netfn = 0x38;
constexpr unsigned read_command = 0x02;
constexpr unsigned oem_netfn = 0x3c;
constexpr uint8_t oem_read = 0x18;
constexpr uint8_t oem_write = 0x19;
constexpr size_t oem_value_size = 4;

// Writes, by with or without PEC and item size.
constexpr unsigned write_commands[2][2] = {{0x03, 0x04}, {0x07, 0x08}};
constexpr int32_t pec_flag = 0x01;
constexpr int32_t max_write = 256;

// Without a bus the answer has no length of its own.
constexpr size_t max_oem_answer = 255;

constexpr boarddiag::value_format byte_words = {" 0x%x", " 0x%x"};
constexpr boarddiag::value_format two_digit_words = {" 0x%2.02x", " 0x%2.02x"};

// ---- What the calls differ in ----

constexpr boarddiag::pipe_frame read_frame = {
    .traced_level = 3,
    .traced = "ipmitool_get: %s\n",
    .start_failed = "shell command(%s) failed\n",
    .reads_to_end = true,
};

constexpr boarddiag::pipe_frame raw_frame = {
    .traced_level = 1,
    .traced = read_frame.traced,
    .start_failed = "sys cmd exec failed!\n",
    .reads_to_end = false,
};

constexpr boarddiag::run_frame write_frame = {
    .traced_level = 3,
    .traced = "ipmitool_set: %s\n",
    .failed_level = -1,
    .failed = read_frame.start_failed,
    .failed_shows = boarddiag::shown::command,
    .failed_status = boarddiag::status_minus_one,
    .done = nullptr,
    .dry = boarddiag::dry_run::runs,
};

// ---- Checks that reads and writes share ----

bool check_reg_info(const char *function, const struct reg_info *reg_info)
{
    if (reg_info == nullptr) {
        REPORT_ERROR(function, "Invalid reg_info pointer\n");
        return false;
    }
    return true;
}

bool check_addressing(const char *function, const struct reg_info *reg_info)
{
    if (reg_info->reg_mode != REG8) {
        REPORT_ERROR(function, "Unsupport Addressing mode %d\n", static_cast<int>(reg_info->reg_mode));
        return false;
    }
    return true;
}

bool find_bus(const char *function, const char *bus, int *number)
{
    if (!boarddiag::bus_number_behind_dash(bus, number)) {
        REPORT_ERROR(function, "Invalid bus path %s", bus);
        return false;
    }
    return true;
}

// ---- Building requests ----

void begin_request(command_line *command, unsigned netfn, unsigned request)
{
    boarddiag::command_format(command, "%s raw 0x%x 0x%x", boarddiag::ipmi_tool, netfn, request);
}

void begin_oem_request(command_line *command, uint8_t request, uint16_t reg)
{
    const std::array<uint8_t, 2> bytes = {static_cast<uint8_t>(reg >> 8), static_cast<uint8_t>(reg)};

    begin_request(command, oem_netfn, request);
    boarddiag::append_values(command, &byte_words, bytes);
}

void begin_bus_request(command_line *command, unsigned request, int bus, uint8_t addr, uint8_t reg)
{
    begin_request(command, bus_netfn, request);
    boarddiag::command_append(command, " 0x%x 0x%x 0x%x", static_cast<unsigned>(bus), addr, reg);
}

// Runs a write whose answer nobody reads.
uint32_t finish_write(const char *function, command_line *command)
{
    boarddiag::command_append(command, " > /dev/null");
    return boarddiag::plain_run(&write_frame, function, command);
}

// ---- Register reads ----

bool build_bus_read(const char *function, const char *bus, uint8_t addr, uint8_t reg,
                    const struct reg_info *reg_info, int32_t count, command_line *command)
{
    int number = 0;

    if (!check_reg_info(function, reg_info) || !check_addressing(function, reg_info) ||
        !find_bus(function, bus, &number)) {
        return false;
    }
    begin_bus_request(command, read_command, number, addr, reg);
    boarddiag::command_append(command, " 0x%x", static_cast<unsigned>(count));
    return true;
}

bool build_oem_read(const char *function, uint8_t addr, uint16_t reg, command_line *command)
{
    if (addr != oem_read) {
        REPORT_ERROR(function, "Unsupport OEM command %x\n", addr);
        return false;
    }
    begin_oem_request(command, addr, reg);
    return true;
}

struct register_answer {
    const char *function;
    uint8_t reg;
    std::span<uint8_t> dest;
};

uint32_t take_register(pipe_text *text, void *context)
{
    const auto *answer = static_cast<const register_answer *>(context);
    char buffer[256];
    size_t stored = 0;

    while (stored < answer->dest.size()) {
        const std::string_view line = boarddiag::next_line(text, buffer);
        if (line.empty()) {
            break;
        }
        stored += boarddiag::store_pairs(line, answer->dest.subspan(stored));
    }
    if (stored == 0) {
        REPORT_ERROR(answer->function, "Error reading at offset 0x%02x\n", answer->reg);
        return boarddiag::status_minus_one;
    }
    return 0;
}

// ---- Register writes ----

struct bus_write {
    const char *bus;
    uint8_t addr;
    uint8_t reg;
    const struct reg_info *reg_info;
    const uint8_t *data;
    int32_t count; // of bytes
    int32_t flag;
};

// Bytes of an item, 0 after a report when the width is none.
int item_size(const char *function, const struct reg_info *reg_info)
{
    switch (reg_info->data_width) {
    case DATA8:
    case DATABLK:
        return 1;
    case DATA16:
        return 2;
    default:
        REPORT_ERROR(function, "ERR:Invalid width size %d\n", static_cast<int>(reg_info->data_width));
        return 0;
    }
}

bool check_whole_items(const char *function, int32_t count, int size)
{
    if (count % size != 0) {
        REPORT_ERROR(function, "Odd number of bytes %d for 16-bit data\n", count);
        return false;
    }
    return true;
}

uint32_t write_items(const char *function, const bus_write *write, int32_t count, int bus, int size)
{
    const unsigned request = write_commands[write->flag & pec_flag][size - 1];
    uint8_t reg = write->reg;
    command_line command;

    for (int32_t done = 0; done < count; done += size) {
        begin_bus_request(&command, request, bus, write->addr, reg++);
        boarddiag::append_values(&command, &byte_words, boarddiag::values_of(write->data + done, size));
        const uint32_t status = finish_write(function, &command);
        if (status != 0) {
            return status;
        }
    }
    return 0;
}

uint32_t write_bus(const char *function, const bus_write *write)
{
    int bus = 0;

    if (!check_reg_info(function, write->reg_info)) {
        return boarddiag::status_minus_one;
    }
    const int size = item_size(function, write->reg_info);
    if (size == 0 || !check_addressing(function, write->reg_info) || !find_bus(function, write->bus, &bus)) {
        return boarddiag::status_minus_one;
    }
    const int32_t count = std::min(write->count, max_write);
    if (count <= 0) {
        return 0;
    }
    if (!check_whole_items(function, count, size)) {
        return boarddiag::status_minus_one;
    }
    return write_items(function, write, count, bus, size);
}

uint32_t write_oem(const char *function, uint8_t addr, uint16_t reg, const uint8_t *data)
{
    command_line command;

    if (addr != oem_write) {
        REPORT_ERROR(function, "Unsupport OEM command %d\n", addr);
        return boarddiag::status_minus_one;
    }
    begin_oem_request(&command, addr, reg);
    boarddiag::append_values(&command, &byte_words, {data, oem_value_size});
    return finish_write(function, &command);
}

// ---- Any request ----

struct raw_answer {
    const char *function;
    const command_line *command;
    int32_t length;
    uint8_t *data;
};

// What the first line says of a request.
enum class outcome { good, failed, done, refused };

outcome take_raw_lines(pipe_text *text, std::string_view first_line, std::span<char> buffer,
                       std::span<uint8_t> dest)
{
    placed_pairs pairs = {};

    pairs.dest = dest;
    for (std::string_view line = first_line; !line.empty() && boarddiag::take_lines(&pairs, line);) {
        line = boarddiag::next_line(text, buffer);
    }
    boarddiag::end_pairs(&pairs);
    return outcome::good;
}

outcome take_raw_text(pipe_text *text, const raw_answer *answer)
{
    char buffer[500];
    const std::string_view line = boarddiag::next_line(text, buffer);

    if (line.empty()) {
        return answer->length == 0 ? outcome::good : outcome::failed;
    }
    boarddiag::show_text(1, "ipmii2c_get : %s\n", line);
    if (line.front() != ' ') {
        return line.front() == '\n' ? outcome::done : outcome::refused;
    }
    if (answer->length < 0) {
        return outcome::failed;
    }
    return take_raw_lines(text, line, buffer, {answer->data, static_cast<size_t>(answer->length)});
}

uint32_t take_raw(pipe_text *text, void *context)
{
    const auto *answer = static_cast<const raw_answer *>(context);
    const outcome result = take_raw_text(text, answer);

    if (result == outcome::done || result == outcome::refused) {
        return result == outcome::done ? 0 : boarddiag::status_minus_one;
    }
    if (result == outcome::failed) {
        diag_print(2, "%s\nError Reading %d bytes from IPMII2C\n", boarddiag::tool_failed_mark, 0);
    } else {
        diag_print(boarddiag::bytes_read_level, boarddiag::bytes_read_traced, answer->length);
    }
    if (boarddiag::is_dry_run()) {
        REPORT_FOLLOW_UP(answer->function, "%s\n", answer->command->text);
        return 0;
    }
    return result == outcome::good ? 0 : boarddiag::status_minus_one;
}

struct raw_request {
    uint8_t netfn;
    uint8_t cmd;
    std::span<const uint8_t> data;
    int32_t resp_len;
    uint8_t *resp_data;
};

uint32_t send_raw(const char *function, const raw_request *request)
{
    command_line command;
    raw_answer answer = {function, &command, request->resp_len, request->resp_data};
    const boarddiag::pipe_call call = {&raw_frame, function, request->resp_len, take_raw, &answer};

    boarddiag::command_format(&command, "%s raw 0x%2.02x 0x%2.02x ", boarddiag::ipmi_tool, request->netfn,
                              request->cmd);
    boarddiag::append_values(&command, &two_digit_words, request->data);
    return boarddiag::pipe_read(&call, &command);
}

} // namespace

uint32_t ipmitool_get(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                      int32_t count, const char *pipe, uint8_t *data)
{
    const auto low = static_cast<uint8_t>(reg);
    uint8_t unwanted = 0; // a byte that comes counts, also when none is to be stored
    std::span<uint8_t> dest = {data,
                               bus == nullptr ? max_oem_answer : static_cast<size_t>(std::max(count, 0))};
    register_answer answer = {__func__, low, dest.empty() ? std::span(&unwanted, 1) : dest};
    const boarddiag::pipe_call call = {&read_frame, __func__, static_cast<int64_t>(answer.dest.size()),
                                       take_register, &answer};
    command_line command;

    static_cast<void>(pipe);
    const bool is_built = bus != nullptr ? build_bus_read(__func__, bus, addr, low, reg_info, count, &command)
                                         : build_oem_read(__func__, addr, reg, &command);
    return is_built ? boarddiag::pipe_read(&call, &command) : boarddiag::status_minus_one;
}

uint32_t ipmitool_set(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                      const uint8_t *data, int32_t count, int32_t flag)
{
    const bus_write write = {bus, addr, static_cast<uint8_t>(reg), reg_info, data, count, flag};

    return bus != nullptr ? write_bus(__func__, &write) : write_oem(__func__, addr, reg, data);
}

uint32_t ipmitool2_get(uint8_t netfn, uint8_t cmd, uint8_t req_len, const uint8_t *req_data, int32_t resp_len,
                       uint8_t *resp_data)
{
    const raw_request request = {netfn, cmd, {req_data, req_len}, resp_len, resp_data};

    return send_raw(__func__, &request);
}

uint32_t ipmitool2_set(uint8_t netfn, uint8_t cmd, uint8_t req_len, const uint8_t *req_data, int32_t resp_len,
                       uint8_t *resp_data)
{
    const raw_request request = {netfn, cmd, {req_data, req_len}, resp_len, resp_data};

    return send_raw(__func__, &request);
}
