/* SPDX-License-Identifier: MIT */
#include "wire.h"

#include <array>
#include <cstdio>

namespace boardsim {

namespace {

constexpr std::string_view request_start = "RQS";
constexpr std::string_view request_end = "RQE";
constexpr std::string_view response_start = "RPS";
constexpr std::string_view response_end = "RPE";

bool take_literal(std::string_view &text, std::string_view literal)
{
    if (!text.starts_with(literal)) {
        return false;
    }
    text.remove_prefix(literal.size());
    return true;
}

bool take_byte(std::string_view &text, uint8_t &value)
{
    uint32_t wide = 0;
    if (!take_hex(text, 2, wide)) {
        return false;
    }
    value = static_cast<uint8_t>(wide);
    return true;
}

bool take_text(std::string_view &text, uint32_t length, std::string &out)
{
    if (text.size() < length) {
        return false;
    }
    out = text.substr(0, length);
    text.remove_prefix(length);
    return true;
}

bool take_device(std::string_view &text, std::string &out)
{
    uint32_t length = 0;
    return take_hex(text, 2, length) && take_text(text, length, out);
}

bool take_body(std::string_view &text, bus_message &out)
{
    uint32_t data_length = 0;
    uint32_t support_length = 0;
    return take_byte(text, out.tool_id) && take_hex(text, 8, out.inst_id) &&
           take_hex(text, 8, out.transac_id) && take_device(text, out.dev_id) &&
           take_device(text, out.dev_name) && take_hex(text, 8, out.priority) &&
           take_hex(text, 8, out.type) && take_byte(text, out.indication) && take_hex(text, 4, data_length) &&
           take_hex(text, 2, support_length) && take_text(text, data_length, out.data) &&
           take_text(text, support_length, out.support);
}

void put_hex(std::string &out, int width, uint32_t value)
{
    char digits[9];
    std::snprintf(digits, sizeof digits, "%0*x", width, value);
    out += digits;
}

/// CRC-32/ISO-HDLC: polynomial 0x04c11db7, bits reflected, all ones before and after.
constexpr auto crc_table = [] {
    std::array<uint32_t, 256> table = {};
    for (uint32_t i = 0; i < table.size(); i++) {
        uint32_t rest = i;
        for (int bit = 0; bit < 8; bit++) {
            rest = rest >> 1 ^ (0xedb88320 & (0 - (rest & 1)));
        }
        table[i] = rest;
    }
    return table;
}();

uint32_t checksum(std::string_view bytes)
{
    uint32_t crc = UINT32_MAX;
    for (const char c : bytes) {
        crc = crc >> 8 ^ crc_table[(crc ^ static_cast<uint8_t>(c)) & 0xff];
    }
    return ~crc;
}

/// Least significant byte first, as the hosts of this protocol store their numbers.
void put_value(std::string &out, unsigned bytes, size_t value)
{
    for (unsigned i = 0; i < bytes; i++) {
        out += static_cast<char>((value >> (8 * i)) & 0xff);
    }
}

} // namespace

bool take_hex(std::string_view &text, unsigned width, uint32_t &value)
{
    if (text.size() < width) {
        return false;
    }
    value = 0;
    for (unsigned i = 0; i < width; i++) {
        const size_t digit = std::string_view("0123456789abcdef").find(text[i]);
        if (digit == std::string_view::npos) {
            return false;
        }
        value = value << 4 | static_cast<uint32_t>(digit);
    }
    text.remove_prefix(width);
    return true;
}

uint32_t message_crc(const bus_message &message)
{
    std::string covered;
    put_value(covered, 1, message.tool_id);
    put_value(covered, 4, message.inst_id);
    put_value(covered, 4, message.transac_id);
    put_value(covered, 1, message.dev_id.size());
    covered += message.dev_id;
    put_value(covered, 1, message.dev_name.size());
    covered += message.dev_name;
    put_value(covered, 4, message.priority);
    put_value(covered, 4, message.type);
    put_value(covered, 1, message.indication);
    put_value(covered, 2, message.data.size());
    put_value(covered, 1, message.support.size());
    covered += message.data;
    covered += message.support;
    return checksum(covered);
}

frame_verdict read_request(std::string_view datagram, bus_message &out)
{
    uint32_t crc = 0;
    if (!take_literal(datagram, request_start) || !take_body(datagram, out) || !take_hex(datagram, 8, crc) ||
        datagram != request_end) {
        return frame_verdict::bad_shape;
    }
    if (crc != message_crc(out)) {
        return frame_verdict::bad_crc;
    }
    if (out.tool_id > max_tool_id || out.priority > max_priority || out.type > max_type ||
        out.indication > max_indication) {
        return frame_verdict::bad_value;
    }
    return frame_verdict::good;
}

std::string write_response(const bus_message &request, std::string_view data)
{
    bus_message response = request;
    response.data = data;
    response.support.clear();
    std::string out(response_start);
    put_hex(out, 2, response.tool_id);
    put_hex(out, 8, response.inst_id);
    put_hex(out, 8, response.transac_id);
    put_hex(out, 2, static_cast<uint32_t>(response.dev_id.size()));
    out += response.dev_id;
    put_hex(out, 2, static_cast<uint32_t>(response.dev_name.size()));
    out += response.dev_name;
    put_hex(out, 8, response.priority);
    put_hex(out, 8, response.type);
    put_hex(out, 2, response.indication);
    put_hex(out, 4, static_cast<uint32_t>(response.data.size()));
    put_hex(out, 2, 0);
    out += response.data;
    put_hex(out, 8, message_crc(response));
    out += response_end;
    return out;
}

} // namespace boardsim
