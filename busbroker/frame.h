/* SPDX-License-Identifier: MIT */
// The wire format of a bus broker record, once: the writer, the frame length, the checksum and the receive
// side all follow this table.
#ifndef BOARDDIAG_BUSBROKER_FRAME_H
#define BOARDDIAG_BUSBROKER_FRAME_H

#include <cstddef>
#include <cstring>
#include <string_view>

#include <boarddiag/busbroker.h>

namespace boarddiag {

/// A field of the record between the start and the end mark. Numbers travel as hexadecimal digits.
struct wire_field {
    const char *name;
    uint32_t text_width;    ///< digits of a number; 0 for a text, which is as long as its length field says
    uint32_t offset;        ///< where the number, or the pointer to the text, stands in the record
    uint32_t size;          ///< bytes of the number, or of the length field of a text, in the record
    uint32_t length_offset; ///< where the length field of a text stands in the record
};

#define BOARDDIAG_WIRE_NUMBER(field, width)                                                                  \
    {                                                                                                        \
#field, width, offsetof(busbroker_req_resp, field), sizeof(busbroker_req_resp::field), 0             \
    }
#define BOARDDIAG_WIRE_TEXT(field)                                                                           \
    {                                                                                                        \
#field, 0, offsetof(busbroker_req_resp, field), sizeof(busbroker_req_resp::field##_len),             \
            offsetof(busbroker_req_resp, field##_len)                                                        \
    }

/// The fields in the order in which they travel and enter the checksum, which comes last and covers the
/// others.
inline constexpr wire_field wire_fields[] = {
    BOARDDIAG_WIRE_NUMBER(tool_id, 2),
    BOARDDIAG_WIRE_NUMBER(inst_id, 8),
    BOARDDIAG_WIRE_NUMBER(transac_id, 8),
    BOARDDIAG_WIRE_NUMBER(dev_id_len, 2),
    BOARDDIAG_WIRE_TEXT(dev_id),
    BOARDDIAG_WIRE_NUMBER(dev_name_len, 2),
    BOARDDIAG_WIRE_TEXT(dev_name),
    BOARDDIAG_WIRE_NUMBER(req_prio, 8),
    BOARDDIAG_WIRE_NUMBER(req_type, 8),
    BOARDDIAG_WIRE_NUMBER(transac_ind, 2),
    BOARDDIAG_WIRE_NUMBER(data_len, 4),
    BOARDDIAG_WIRE_NUMBER(support_data_len, 2),
    BOARDDIAG_WIRE_TEXT(data),
    BOARDDIAG_WIRE_TEXT(support_data),
    BOARDDIAG_WIRE_NUMBER(crc, 8),
};

#undef BOARDDIAG_WIRE_NUMBER
#undef BOARDDIAG_WIRE_TEXT

inline constexpr uint32_t wire_field_count = sizeof wire_fields / sizeof wire_fields[0];
inline constexpr uint32_t checked_field_count = wire_field_count - 1; // all but the checksum itself
inline constexpr uint32_t mark_length = 3;
inline constexpr const char request_start[] = "RQS";
inline constexpr const char request_end[] = "RQE";
inline constexpr const char response_start[] = "RPS";
inline constexpr const char response_end[] = "RPE";

/// Where a field stands in the table; naming one that does not exist does not compile.
consteval uint32_t wire_index(std::string_view name)
{
    for (uint32_t index = 0; index < wire_field_count; index++) {
        if (name == wire_fields[index].name) {
            return index;
        }
    }
    __builtin_unreachable();
}

constexpr bool is_text(const wire_field &field)
{
    return field.text_width == 0;
}

constexpr uint32_t fixed_frame_length()
{
    uint32_t length = 2 * mark_length;
    for (const wire_field &field : wire_fields) {
        length += field.text_width;
    }
    return length;
}

// Numbers are copied at their stored size: the record's own byte order is that of the checksum.
inline uint32_t load_value(const busbroker_req_resp &record, uint32_t offset, uint32_t size)
{
    const auto *from = reinterpret_cast<const unsigned char *>(&record) + offset;
    uint32_t value = 0;

    switch (size) {
    case sizeof(uint8_t):
        return *from;
    case sizeof(uint16_t):
        memcpy(&value, from, sizeof(uint16_t));
        return value;
    default:
        memcpy(&value, from, sizeof value);
        return value;
    }
}

inline void store_value(busbroker_req_resp &record, uint32_t offset, uint32_t size, uint32_t value)
{
    auto *to = reinterpret_cast<unsigned char *>(&record) + offset;

    switch (size) {
    case sizeof(uint8_t):
        *to = static_cast<unsigned char>(value);
        break;
    case sizeof(uint16_t):
        memcpy(to, &value, sizeof(uint16_t));
        break;
    default:
        memcpy(to, &value, sizeof value);
    }
}

/// The number of a number field.
inline uint32_t load_number(const busbroker_req_resp &record, const wire_field &field)
{
    return load_value(record, field.offset, field.size);
}

/// How long the record says that a text is.
inline uint32_t text_length(const busbroker_req_resp &record, const wire_field &field)
{
    return load_value(record, field.length_offset, field.size);
}

inline char *load_text(const busbroker_req_resp &record, const wire_field &field)
{
    char *text;
    memcpy(&text, reinterpret_cast<const unsigned char *>(&record) + field.offset, sizeof text);
    return text;
}

inline void store_text(busbroker_req_resp &record, const wire_field &field, char *text)
{
    memcpy(reinterpret_cast<unsigned char *>(&record) + field.offset, &text, sizeof text);
}

/* ---- frame.cpp ---- */

/// Writes `width` lowercase hexadecimal digits, zero-padded, and returns the position behind them.
char *put_hex(char *out, uint32_t value, uint32_t width);

/* ---- data_text.cpp: the request-type specific text of a request ---- */

/// Writes each byte as a comma and two digits, without a terminator, and returns the position behind them.
char *put_byte_list(char *out, const uint8_t *bytes, uint32_t count);

/// The length of the data text that the request parameters give for a request of this type.
uint32_t data_text_length(const busbroker_req_resp &req, uint32_t req_type);

/// Writes the data text with its terminator. The buffer holds data_text_length() + 1 characters.
void write_data_text(const busbroker_req_resp &req, char *out);

} // namespace boarddiag

#endif
