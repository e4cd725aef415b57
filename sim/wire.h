/* SPDX-License-Identifier: MIT */
// The bus broker's wire format as the broker sees it: requests from "RQS" to "RQE" are read strictly,
// responses from "RPS" to "RPE" are written. Numbers are lowercase hex digits of fixed width, texts are
// led by their length, and a CRC-32/ISO-HDLC covers the values (not the digits).
#ifndef BOARDSIM_WIRE_H
#define BOARDSIM_WIRE_H

#include <cstdint>
#include <string>
#include <string_view>

namespace boardsim {

/// One message, request or response; the lengths on the wire are those of the texts.
struct bus_message {
    uint8_t tool_id = 0;
    uint32_t inst_id = 0;
    uint32_t transac_id = 0;
    std::string dev_id;
    std::string dev_name;
    uint32_t priority = 0;
    uint32_t type = 0;
    uint8_t indication = 0;
    std::string data;
    std::string support;
};

enum class frame_verdict : uint8_t {
    good,
    bad_shape, // not exactly one frame, or a number with anything but lowercase hex digits
    bad_crc,
    bad_value, // tool, priority, type or indication out of range
};

/// The highest values that a request may carry.
inline constexpr uint32_t max_tool_id = 22;
inline constexpr uint32_t max_priority = 2;
inline constexpr uint32_t max_type = 7;
inline constexpr uint32_t max_indication = 5;

/// The longest data text of a message, by its four length digits.
inline constexpr size_t max_data_text = 0xffff;

/// Reads a datagram that must hold one request and nothing else; `out` counts only when it is good.
frame_verdict read_request(std::string_view datagram, bus_message &out);

/// The response to `request` that carries `data` (at most max_data_text characters) and no support text.
std::string write_response(const bus_message &request, std::string_view data);

/// The checksum of a message's values and texts.
uint32_t message_crc(const bus_message &message);

/// Takes `width` lowercase hex digits from the front of `text`; false when they are not there.
bool take_hex(std::string_view &text, unsigned width, uint32_t &value);

} // namespace boardsim

#endif
