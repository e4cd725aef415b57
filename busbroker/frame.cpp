/* SPDX-License-Identifier: MIT */
// The ASCII frame of a request, its length, and the checksum that records of both directions carry.
#include "busbroker/frame.h"

#include <algorithm>
#include <zlib.h>

#include "busbroker/refusal.h"
#include "core/reason.h"
#include "core/report.h"

using boarddiag::wire_field;
using boarddiag::wire_fields;

static_assert(boarddiag::wire_field_count == 15 && boarddiag::fixed_frame_length() == 60,
              "the broker's layout is fixed");

namespace {

constexpr uint32_t max_text_width = 8;
constexpr uint32_t max_dev_name_len = 32;
constexpr uint8_t max_tool_id = 22;

/// A frame under way. Positions follow from the length fields; what lies beyond the room is cut.
struct frame_writer {
    char *dest;
    uint32_t room;
    uint32_t position;
};

/// Writes a field of `width` characters; a text that is shorter than announced is filled up with zeros.
void put_text(frame_writer &writer, const char *text, uint32_t length, uint32_t width)
{
    if (writer.position < writer.room) {
        char *to = writer.dest + writer.position;
        const uint32_t fits = std::min(width, writer.room - writer.position);
        const uint32_t copied = std::min(length, fits);
        memcpy(to, text, copied);
        if (copied < fits) {
            memset(to + copied, 0, fits - copied);
        }
    }
    writer.position += width;
}

void put_number(frame_writer &writer, uint32_t value, uint32_t width)
{
    char digits[max_text_width];

    if (writer.position + width <= writer.room) {
        boarddiag::put_hex(writer.dest + writer.position, value, width);
        writer.position += width;
        return;
    }
    boarddiag::put_hex(digits, value, width);
    put_text(writer, digits, width, width);
}

void put_mark(frame_writer &writer, const char *mark)
{
    put_text(writer, mark, boarddiag::mark_length, boarddiag::mark_length);
}

void put_field(frame_writer &writer, const busbroker_req_resp &req, const wire_field &field)
{
    if (!boarddiag::is_text(field)) {
        put_number(writer, boarddiag::load_number(req, field), field.text_width);
        return;
    }
    const char *text = boarddiag::load_text(req, field);
    const uint32_t width = boarddiag::text_length(req, field);
    const size_t length = text == nullptr ? 0 : strnlen(text, width);
    put_text(writer, text == nullptr ? "" : text, static_cast<uint32_t>(length), width);
}

/// The complaint about a request that cannot be framed, null when there is none.
const char *frame_refusal(const busbroker_req_resp *req, const char *dest)
{
    if (req == nullptr) {
        return "Input request pointer is NULL\n";
    }
    if (req->dev_id == nullptr) {
        return "Device id pointer can't be NULL\n";
    }
    if (req->dev_name == nullptr) {
        return "Device name pointer can't be NULL\n";
    }
    return dest == nullptr ? "Destination buffer pointer can't be NULL\n" : nullptr;
}

uint32_t add_to_crc(uint32_t crc, const void *bytes, uint32_t length)
{
    return static_cast<uint32_t>(crc32(crc, static_cast<const Bytef *>(bytes), length));
}

uint32_t add_field_to_crc(uint32_t crc, const busbroker_req_resp &req, const wire_field &field)
{
    if (!boarddiag::is_text(field)) {
        return add_to_crc(crc, reinterpret_cast<const char *>(&req) + field.offset, field.size);
    }
    const char *text = boarddiag::load_text(req, field);
    const uint32_t length = boarddiag::text_length(req, field);
    return text == nullptr || length == 0 ? crc : add_to_crc(crc, text, length);
}

} // namespace

char *boarddiag::put_hex(char *out, uint32_t value, uint32_t width)
{
    for (uint32_t i = width; i > 0; i--) {
        out[i - 1] = "0123456789abcdef"[value & 0xf];
        value >>= 4;
    }
    return out + width;
}

uint32_t calculate_req_len_in_ascii(const struct busbroker_req_resp *req)
{
    uint32_t length = boarddiag::fixed_frame_length();

    if (req == nullptr) {
        boarddiag::tell_refusal(0, "Request raw pointer is NULL, can't calculate length\n");
        return 0;
    }
    for (const wire_field &field : wire_fields) {
        length += boarddiag::is_text(field) ? boarddiag::text_length(*req, field) : 0;
    }
    PRINT_TAKEN(3, "Calculated length required is %d \n", static_cast<int>(length));
    return length;
}

uint32_t frame_ascii_request(const struct busbroker_req_resp *req, char *dest, int32_t size)
{
    if (size < 1) {
        diag_print(0, "Given dest buf size %d is invalid \n", static_cast<int>(size));
        boarddiag::set_reason("a buffer of %d characters holds no frame", static_cast<int>(size));
        return 0;
    }
    const char *refusal = frame_refusal(req, dest);
    if (refusal != nullptr) {
        boarddiag::tell_refusal(0, refusal);
        return 0;
    }
    frame_writer writer = {dest, static_cast<uint32_t>(size) - 1, 0};
    put_mark(writer, boarddiag::request_start);
    for (const wire_field &field : wire_fields) {
        put_field(writer, *req, field);
    }
    put_mark(writer, boarddiag::request_end);
    dest[std::min(writer.position, writer.room)] = '\0';
    PRINT_TAKEN(3, "Prepared request is %s\n", dest);
    return writer.position;
}

uint32_t calculate_crc(const struct busbroker_req_resp *req)
{
    uint32_t crc = 0;

    if (req == nullptr) {
        REPORT_ERROR(__func__, "NULL pointer received as record\n");
        return 0;
    }
    for (uint32_t index = 0; index < boarddiag::checked_field_count; index++) {
        crc = add_field_to_crc(crc, *req, wire_fields[index]);
    }
    PRINT_TAKEN(3, "Calculated CRC =0x%x\n", static_cast<unsigned>(crc));
    return crc;
}

uint32_t validate_busbroker_req_resp(const struct busbroker_req_resp *req)
{
    if (req == nullptr) {
        REPORT_ERROR(__func__, "NULL pointer received as record\n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (req->dev_name_len > max_dev_name_len) {
        PRINT_TAKEN(3, "Req rx on socket id %d has exceeded max allowed dev len %d\n",
                    static_cast<int>(req->dev_name_len), static_cast<int>(max_dev_name_len));
    }
    if (req->tool_id > max_tool_id) {
        diag_print(0, "Invalid tool id %d received \n", static_cast<int>(req->tool_id));
        boarddiag::set_reason("the response's tool id %d is above %d", req->tool_id, max_tool_id);
        return DIAG_ERR_INVALID_ARG;
    }
    const uint32_t crc = calculate_crc(req);
    if (crc != req->crc) {
        boarddiag::set_reason("the response's checksum is %08x, its fields give %08x", req->crc, crc);
        return DIAG_ERR_INVALID_ARG;
    }
    PRINT_TAKEN(3, "CRC Validation success,pushing the req to queues\n");
    return 0;
}
