/* SPDX-License-Identifier: MIT */
// ipmitool raw: the management controller's identity, its bridges to the I2C devices, its OEM registers.
#include <algorithm>
#include <array>
#include <cstdio>

#include "devices.h"
#include "message.h"
#include "pec.h"
#include "tools.h"

namespace boardsim {

namespace {

using bytes = std::vector<uint8_t>;
using byte_view = std::span<const uint8_t>;

constexpr size_t bytes_per_line = 16;
constexpr number_form plain_hex = hex1_byte;  // 0x2
constexpr number_form padded_hex = hex2_byte; // 0x02

// What a request makes of its data bytes: its response, or false (told).
using request_handler = bool (*)(tool_run &run, byte_view data, bytes &response);

struct request {
    uint8_t netfn;
    uint8_t command;
    size_t min_data;
    size_t max_data;
    request_handler handle;
};

bool get_device_id(tool_run &run, byte_view, bytes &response)
{
    const std::optional<uint64_t> size = image_size(run.b, bmc_image);
    response.resize(static_cast<size_t>(size.value_or(0)));
    return size && image_read(run.b, bmc_image, 0, response);
}

bool bus_read(tool_run &run, byte_view data, bytes &response)
{
    const std::string bus = std::to_string(data[0]);
    response.resize(data[3]);
    return i2c_read(run.b, {bus, data[1]}, data[2], response);
}

bool bus_write(tool_run &run, byte_view data, bytes &)
{
    const std::string bus = std::to_string(data[0]);
    return i2c_write(run.b, {bus, data[1]}, data[2], data.subspan(3), false);
}

// The controller itself adds the packet error code of these writes.
bool bus_write_pec(tool_run &run, byte_view data, bytes &)
{
    const std::string bus = std::to_string(data[0]);
    return i2c_write(run.b, {bus, data[1]}, data[2], data.subspan(3), true);
}

constexpr size_t oem_register_bytes = 4;

uint64_t oem_offset(byte_view data)
{
    return oem_register_bytes * (static_cast<uint64_t>(data[0]) << 8 | data[1]);
}

bool oem_read(tool_run &run, byte_view data, bytes &response)
{
    response.resize(oem_register_bytes);
    return image_read(run.b, oem_image, oem_offset(data), response);
}

bool oem_write(tool_run &run, byte_view data, bytes &)
{
    return image_write(run.b, oem_image, oem_offset(data), data.subspan(2));
}

// The last byte of `written` is the code over the address byte and the bytes before it.
bool good_pec(uint8_t address_byte, byte_view written)
{
    bytes covered{address_byte};
    covered.insert(covered.end(), written.begin(), written.end() - 1);
    const uint8_t expected = packet_error_code(covered);
    if (written.back() != expected) {
        complain("packet error code 0x%02x, expected 0x%02x", written.back(), expected);
        return false;
    }
    return true;
}

bool bridged_write(tool_run &run, const i2c_address &dev, uint8_t address_byte, uint32_t reg,
                   size_t register_bytes, byte_view written)
{
    const bool with_pec = i2c_demands_pec(run.b, dev);
    if (with_pec && written.size() == register_bytes) {
        complain("device 0x%02x: a write without a packet error code", address_byte);
        return false;
    }
    if (with_pec && !good_pec(address_byte, written)) {
        return false;
    }
    const byte_view values = written.subspan(register_bytes);
    return i2c_write(run.b, dev, reg, values.first(values.size() - (with_pec ? 1 : 0)), with_pec);
}

// Bus, 8-bit address, read count, then the bytes that go to the device: register bytes and, in a write, data.
bool bridged(tool_run &run, byte_view data, bytes &response)
{
    const std::string bus = std::to_string(data[0]);
    const i2c_address dev{bus, static_cast<unsigned>(data[1] >> 1)};
    if ((data[1] & 1) != 0) {
        complain("0x%02x is not the write form of an 8-bit I2C address", data[1]);
        return false;
    }
    if (!i2c_probe(run.b, dev)) {
        return false;
    }
    const byte_view written = data.subspan(3);
    const size_t register_bytes = i2c_register_bytes(run.b, dev);
    const bool reading = data[2] != 0;
    if (written.size() < register_bytes || (reading && written.size() != register_bytes)) {
        complain("device 0x%02x takes %zu register bytes", data[1], register_bytes);
        return false;
    }
    uint32_t reg = 0;
    for (const uint8_t byte : written.first(register_bytes)) {
        reg = reg << 8 | byte;
    }
    response.resize(data[2]);
    return reading ? i2c_read(run.b, dev, reg, response)
                   : bridged_write(run, dev, data[1], reg, register_bytes, written);
}

constexpr request requests[] = {
    {0x06, 0x01, 0, 0, get_device_id}, {0x38, 0x02, 4, 4, bus_read},      {0x38, 0x03, 4, 4, bus_write},
    {0x38, 0x04, 5, 5, bus_write},     {0x38, 0x07, 4, 4, bus_write_pec}, {0x38, 0x08, 5, 5, bus_write_pec},
    {0x3a, 0x01, 3, 255, bridged},     {0x3c, 0x18, 2, 2, oem_read},      {0x3c, 0x19, 6, 6, oem_write},
};

bool parse_bytes(arguments args, const number_form &form, bytes &out)
{
    out.clear();
    for (const char *arg : args) {
        const std::optional<uint64_t> value = parse_number(arg, form);
        if (!value) {
            return false;
        }
        out.push_back(static_cast<uint8_t>(*value));
    }
    return true;
}

// All bytes with two digits, or all without leading zeros; the bridge is only ever asked the first way.
bool parse_request(arguments args, bytes &out)
{
    const bool padded = parse_bytes(args, padded_hex, out);
    if (!padded && !parse_bytes(args, plain_hex, out)) {
        complain_usage("each byte is 0xHH, or each is 0xH without leading zeros");
        return false;
    }
    if (out.size() < 2 || (!padded && out[0] == 0x3a)) {
        complain_usage(out.size() < 2 ? "no network function and command" : "0x3a takes each byte as 0xHH");
        return false;
    }
    return true;
}

void print_response(const bytes &response)
{
    for (size_t i = 0; i < response.size(); i++) {
        printf("%s %02x", i != 0 && i % bytes_per_line == 0 ? "\n" : "", response[i]);
    }
    puts("");
}

int answer(const tool_run &run, bytes response)
{
    distort(run.failing, response);
    if (run.failing.garbage) {
        puts("Unable to establish a session with the controller");
    } else if (!run.failing.silent) {
        print_response(response);
    }
    return fflush(stdout) == 0 ? status_ok : status_device;
}

int send_request(tool_run &run, const bytes &message)
{
    const auto known = std::ranges::find_if(
        requests, [&](const request &r) { return r.netfn == message[0] && r.command == message[1]; });
    const byte_view data = byte_view(message).subspan(2);
    if (known == std::end(requests)) {
        complain("the controller does not know request 0x%02x 0x%02x", message[0], message[1]);
        return status_device;
    }
    if (data.size() < known->min_data || data.size() > known->max_data) {
        complain("request 0x%02x 0x%02x does not take %zu data bytes", message[0], message[1], data.size());
        return status_device;
    }
    bytes response;
    if (!known->handle(run, data, response)) {
        return status_device;
    }
    return answer(run, std::move(response));
}

int run_raw(tool_run &run, arguments args)
{
    bytes message;
    if (args.empty() || std::string_view(args[0]) != "raw") {
        complain_usage("only raw requests are known");
        return status_usage;
    }
    if (!parse_request(args.subspan(1), message)) {
        return status_usage;
    }
    if (!image_size(run.b, bmc_image)) {
        return status_device; // without the controller nothing behind it answers
    }
    return send_request(run, message);
}

} // namespace

const tool ipmitool = {"ipmitool", {}, run_raw};

} // namespace boardsim
