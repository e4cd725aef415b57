/* SPDX-License-Identifier: MIT */
#include "devices.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>

#include "fpga.h"
#include "message.h"

namespace boardsim {

namespace {

constexpr unsigned word_bytes = 2;
constexpr unsigned highest_7bit_address = 0x7f;

bool good_bus_name(std::string_view bus)
{
    return !bus.empty() && bus[0] != '.' && bus.find('/') == std::string_view::npos;
}

// "X-N" is how programs that can also go through the management controller name bus N.
std::string_view bus_folder(std::string_view bus)
{
    const size_t dash = bus.find('-');
    const auto is_digit = [](char c) { return isdigit(static_cast<unsigned char>(c)) != 0; };
    const bool paired = dash != std::string_view::npos && dash + 1 < bus.size() &&
                        std::ranges::all_of(bus.substr(dash + 1), is_digit);
    return paired ? bus.substr(dash + 1) : bus;
}

std::string device_file(const i2c_address &dev, const char *suffix)
{
    std::array<char, 16> name = {};
    snprintf(name.data(), name.size(), "/0x%02x.", dev.addr);
    return "i2c/" + std::string(bus_folder(dev.bus)) + name.data() + suffix;
}

bool valid_address(const i2c_address &dev)
{
    if (!good_bus_name(dev.bus)) {
        complain("no such I2C bus: %s", std::string(dev.bus).c_str());
        return false;
    }
    if (dev.addr > highest_7bit_address) {
        complain("no I2C address of 7 bits: 0x%02x", dev.addr);
        return false;
    }
    return true;
}

unsigned register_size(const board &b, const i2c_address &dev)
{
    return board_has(b, device_file(dev, "word")) ? word_bytes : 1;
}

bool mailbox_address(const board &b, uint16_t &reg)
{
    std::array<uint8_t, 2> latch = {};
    const bool good = image_read(b, lpc_image, mailbox_high_address, latch);
    reg = static_cast<uint16_t>(latch[0] << 8 | latch[1]);
    return good;
}

bool lpc_read_byte(board &b, uint32_t addr, uint8_t &value)
{
    uint16_t reg = 0;
    if (addr != mailbox_read_data) {
        return image_read(b, lpc_image, addr, {&value, 1});
    }
    return mailbox_address(b, reg) && fpga_read(b, reg, value);
}

bool lpc_write_byte(board &b, uint32_t addr, uint8_t value)
{
    uint16_t reg = 0;
    if (addr == mailbox_write_data && !(mailbox_address(b, reg) && fpga_write(b, reg, value))) {
        return false;
    }
    return image_write(b, lpc_image, addr, {&value, 1});
}

} // namespace

std::string gpio_image(unsigned chip)
{
    return "gpio/" + std::to_string(chip) + ".bin";
}

std::string pci_image(unsigned bus, unsigned device, unsigned function)
{
    return "pci/" + std::to_string(bus) + ':' + std::to_string(device) + '.' + std::to_string(function) +
           ".bin";
}

bool i2c_probe(const board &b, const i2c_address &dev)
{
    return valid_address(dev) && image_size(b, device_file(dev, "bin")).has_value();
}

bool i2c_read(const board &b, const i2c_address &dev, uint32_t reg, std::span<uint8_t> out)
{
    return valid_address(dev) &&
           image_read(b, device_file(dev, "bin"), uint64_t{reg} * register_size(b, dev), out);
}

bool i2c_write(const board &b, const i2c_address &dev, uint32_t reg, std::span<const uint8_t> in,
               bool with_pec)
{
    if (!i2c_probe(b, dev)) {
        return false;
    }
    if (!with_pec && i2c_demands_pec(b, dev)) {
        complain("device 0x%02x takes no write without a packet error code", dev.addr);
        return false;
    }
    return image_write(b, device_file(dev, "bin"), uint64_t{reg} * register_size(b, dev), in);
}

bool i2c_demands_pec(const board &b, const i2c_address &dev)
{
    return board_has(b, device_file(dev, "pec"));
}

unsigned i2c_register_bytes(const board &b, const i2c_address &dev)
{
    const uint64_t bytes = image_size(b, device_file(dev, "bin")).value_or(0);
    return bytes / register_size(b, dev) > UINT8_MAX + 1 ? 2 : 1;
}

bool lpc_read(board &b, uint32_t addr, std::span<uint8_t> out)
{
    if (!image_covers(b, lpc_image, addr, out.size())) {
        return false; // before any byte: a read of the mailbox has effects
    }
    for (uint8_t &value : out) {
        if (!lpc_read_byte(b, addr++, value)) {
            return false;
        }
    }
    return true;
}

bool lpc_write(board &b, uint32_t addr, std::span<const uint8_t> in)
{
    if (!image_covers(b, lpc_image, addr, in.size())) {
        return false;
    }
    for (const uint8_t value : in) {
        if (!lpc_write_byte(b, addr++, value)) {
            return false;
        }
    }
    return true;
}

} // namespace boardsim
