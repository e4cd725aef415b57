/* SPDX-License-Identifier: MIT */
// The data texts of requests, by request type.
#include <cstdio>
#include <cstring>

#include "busbroker/frame.h"

namespace {

using boarddiag::put_hex;

constexpr uint32_t access_length = 19;     // addr, count, width and code with their commas
constexpr uint32_t byte_text_length = 3;   // a comma and two digits
constexpr uint32_t otf_length = 9;         // two numbers of four digits and a comma
constexpr uint32_t bus_access_length = 14; // four hexadecimal values and a decimal one
constexpr uint32_t otf_arg_digits = 4;
constexpr uint32_t bus_arg4_digits = 2;

/// Decimal digits, zero-padded to the width; a number with more digits keeps its first ones.
char *put_decimal(char *out, uint32_t value, uint32_t width)
{
    char digits[12];

    snprintf(digits, sizeof digits, "%0*u", static_cast<int>(width), static_cast<unsigned>(value));
    memcpy(out, digits, width);
    return out + width;
}

char *put_hex_comma(char *out, uint32_t value, uint32_t width)
{
    out = put_hex(out, value, width);
    *out = ',';
    return out + 1;
}

char *put_access(const busbroker_req_resp &req, char *out)
{
    out = put_hex_comma(out, req.addr, 8);
    out = put_hex_comma(out, req.count, 4);
    out = put_hex_comma(out, req.width, 2);
    return put_hex(out, req.code, 2);
}

char *put_write(const busbroker_req_resp &req, char *out)
{
    out = put_access(req, out);
    return boarddiag::put_byte_list(out, req.write_data, req.count);
}

char *put_otf(const busbroker_req_resp &req, char *out)
{
    out = put_hex_comma(out, req.otf_id, 4);
    return put_decimal(out, req.otf_arg, otf_arg_digits);
}

uint32_t asset_length(const busbroker_req_resp &req)
{
    return static_cast<uint32_t>(strnlen(req.asset_id, sizeof req.asset_id - 1));
}

char *put_bus_access(const busbroker_req_resp &req, char *out)
{
    out = put_hex_comma(out, req.asset_flag, 2);
    out = put_hex_comma(out, req.bus_arg1, 2);
    out = put_hex_comma(out, req.bus_arg2, 2);
    out = put_hex_comma(out, req.bus_arg3, 2);
    out = put_decimal(out, req.bus_arg4, bus_arg4_digits);
    if (req.asset_flag == 0) {
        *out++ = ',';
        memcpy(out, req.asset_id, asset_length(req));
        out += asset_length(req);
    }
    return out;
}

} // namespace

char *boarddiag::put_byte_list(char *out, const uint8_t *bytes, uint32_t count)
{
    for (uint32_t i = 0; i < count; i++) {
        *out = ',';
        out = put_hex(out + 1, bytes[i], 2);
    }
    return out;
}

uint32_t boarddiag::data_text_length(const busbroker_req_resp &req, uint32_t req_type)
{
    switch (req_type) {
    case BB_REQ_READ:
        return access_length;
    case BB_REQ_WRITE:
        return access_length + byte_text_length * req.count;
    case BB_REQ_OTF_DEV_ID:
        return otf_length;
    case BB_REQ_BUS_DEV_ACCESS:
        return bus_access_length + (req.asset_flag == 0 ? 1 + asset_length(req) : 0);
    default:
        return 0;
    }
}

void boarddiag::write_data_text(const busbroker_req_resp &req, char *out)
{
    switch (req.req_type) {
    case BB_REQ_READ:
        out = put_access(req, out);
        break;
    case BB_REQ_WRITE:
        out = put_write(req, out);
        break;
    case BB_REQ_OTF_DEV_ID:
        out = put_otf(req, out);
        break;
    case BB_REQ_BUS_DEV_ACCESS:
        out = put_bus_access(req, out);
        break;
    default:
        break;
    }
    *out = '\0';
}
