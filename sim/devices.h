/* SPDX-License-Identifier: MIT */
// The devices behind the tools, as the tools and the broker reach them. The caller holds the board's lock.
// A false result has been told on standard error.
#ifndef BOARDSIM_DEVICES_H
#define BOARDSIM_DEVICES_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "board.h"

namespace boardsim {

inline constexpr const char lpc_image[] = "lpc.bin";
inline constexpr const char fpga_image[] = "fpga.bin";
inline constexpr const char mem_image[] = "mem.bin";
inline constexpr const char nvram_image[] = "nvram.bin";
inline constexpr const char bmc_image[] = "bmc.bin";
inline constexpr const char oem_image[] = "oem.bin";
inline constexpr unsigned nvram_bytes = 1068;

std::string gpio_image(unsigned chip);
std::string pci_image(unsigned bus, unsigned device, unsigned function);

/// An I2C device: `bus` is a name ("3") or "X-N", of which N is the name; `addr` has 7 bits.
struct i2c_address {
    std::string_view bus;
    unsigned addr;
};

/// Whether the device is there; tells when it is not.
bool i2c_probe(const board &b, const i2c_address &dev);

/// A register number is a byte offset into the image, or a word offset where a file <addr>.word says that
/// all registers of the device have 16 bits.
bool i2c_read(const board &b, const i2c_address &dev, uint32_t reg, std::span<uint8_t> out);

/// `with_pec`: the write carried a good packet error code. A device with a file <addr>.pec refuses others.
bool i2c_write(const board &b, const i2c_address &dev, uint32_t reg, std::span<const uint8_t> in,
               bool with_pec);

/// Whether the device demands a packet error code in each write.
bool i2c_demands_pec(const board &b, const i2c_address &dev);

/// How many register bytes the device takes on the wire: 1, or 2 when it has more than 256 registers.
unsigned i2c_register_bytes(const board &b, const i2c_address &dev);

/// LPC registers: bytes of lpc.bin, except the FPGA's mailbox.
bool lpc_read(board &b, uint32_t addr, std::span<uint8_t> out);
bool lpc_write(board &b, uint32_t addr, std::span<const uint8_t> in);

/// The mailbox in LPC space. The two address latches live in lpc.bin, so that separate runs see them.
inline constexpr uint32_t mailbox_high_address = 0x80;
inline constexpr uint32_t mailbox_low_address = 0x81;
inline constexpr uint32_t mailbox_read_data = 0x82;
inline constexpr uint32_t mailbox_write_data = 0x83;

} // namespace boardsim

#endif
