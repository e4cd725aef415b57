/* SPDX-License-Identifier: MIT */
#include "fpga_model.h"

#include <algorithm>

#include "fpga.h"

namespace boardsim {

namespace {

enum mode : uint8_t { mode_normal, mode_test };

constexpr size_t cmd_bytes = 3;

// Offsets in the hidden part of the image.
constexpr size_t at_mode = fpga_first_hidden;
constexpr size_t at_wanted_mode = at_mode + 1; // a mode plus 1, or 0 when no switch is under way
constexpr size_t at_mode_polls = at_mode + 2;
constexpr size_t at_indirect = fpga_first_hidden + 0x10;
constexpr size_t at_operation = fpga_first_hidden + 0x20;
constexpr size_t at_fingerprint = fpga_first_hidden + 0x40;
constexpr size_t at_counters = fpga_first_hidden + 0x44; // of four bytes each

// Offsets in what is hidden for each protocol.
constexpr size_t at_pending = 0;
constexpr size_t at_polls = 1;
constexpr size_t at_wr_place = 2;
constexpr size_t at_rd_place = 3;
constexpr size_t at_last_cmd = 4;
constexpr size_t at_stream = 8; // how far the stream of commands with the same command bytes has come

/// One protocol at work.
struct engine {
    const fpga_model &fpga;
    const fpga_protocol &map;
    const fpga_protocol_settings &settings;
    size_t hidden;

    uint8_t &reg(size_t number) const
    {
        return fpga.image[number];
    }
    uint8_t &own(size_t offset) const
    {
        return fpga.image[hidden + offset];
    }
};

uint32_t get_long(std::span<const uint8_t> image, size_t at)
{
    return static_cast<uint32_t>(image[at] | image[at + 1] << 8 | image[at + 2] << 16) |
           static_cast<uint32_t>(image[at + 3]) << 24;
}

void put_long(std::span<uint8_t> image, size_t at, uint32_t value)
{
    for (size_t i = 0; i < 4; i++) {
        image[at + i] = static_cast<uint8_t>(value >> (8 * i));
    }
}

engine indirect_engine(const fpga_model &fpga)
{
    return {fpga, fpga_indirect, fpga.settings.indirect, at_indirect};
}

engine operation_engine(const fpga_model &fpga)
{
    return {fpga, fpga_operation, fpga.settings.operation, at_operation};
}

uint32_t command_address(const engine &e)
{
    const auto cmd = e.fpga.image.subspan(e.map.cmd_reg, cmd_bytes);
    const auto last = e.fpga.image.subspan(e.hidden + at_last_cmd, cmd_bytes);
    if (!std::ranges::equal(cmd, last)) {
        put_long(e.fpga.image, e.hidden + at_stream, 0);
        std::ranges::copy(cmd, last.begin());
    }
    return static_cast<uint32_t>(cmd[0] | cmd[1] << 8 | cmd[2] << 16) +
           get_long(e.fpga.image, e.hidden + at_stream);
}

bool access_flash(const engine &e, uint32_t address, size_t length)
{
    switch (e.reg(e.map.opcode_reg)) {
    case fpga_opcode_none:
        return true;
    case fpga_opcode_write:
        return e.fpga.flash.write(address, e.fpga.image.subspan(e.map.wr_buf_reg, length));
    case fpga_opcode_read:
        return e.fpga.flash.read(address, e.fpga.image.subspan(e.map.rd_buf_reg, length));
    case fpga_opcode_erase:
        return e.fpga.flash.write(address, std::vector<uint8_t>(length, UINT8_MAX));
    default:
        return false;
    }
}

bool carry_out(const engine &e)
{
    const uint8_t length = e.reg(e.map.data_len_reg);
    if (e.reg(e.map.dev_id_reg) != fpga_flash_device || length > e.map.buffer_bytes ||
        (e.map.streams && e.fpga.image[at_mode] != mode_test)) {
        return false;
    }
    const uint32_t address = command_address(e);
    if (!access_flash(e, address, length)) {
        return false;
    }
    if (e.map.streams) {
        put_long(e.fpga.image, e.hidden + at_stream, get_long(e.fpga.image, e.hidden + at_stream) + length);
    }
    return true;
}

// The work is done only when its result shows: a command that the host gives up has changed nothing.
void poll_status(const engine &e)
{
    uint8_t &polls = e.own(at_polls);
    if (e.own(at_pending) == 0 || e.settings.polls == fpga_never || ++polls < e.settings.polls) {
        return;
    }
    e.own(at_pending) = 0;
    e.own(at_rd_place) = 0;
    const uint8_t result = carry_out(e) ? e.map.done_val : e.map.fail_val;
    e.reg(e.map.status_reg) = e.settings.status.value_or(result);
}

uint8_t &fifo_byte(const engine &e, uint16_t mouth, size_t place)
{
    uint8_t &next = e.own(place);
    uint8_t &byte = e.reg(size_t{mouth} + next);
    next = static_cast<uint8_t>((next + 1) % e.map.buffer_bytes);
    return byte;
}

void begin_stream(const engine &e)
{
    put_long(e.fpga.image, e.hidden + at_stream, 0);
}

/// What else a write does: true when the value is not to be stored in the register.
bool react_to_write(const engine &e, uint16_t reg, uint8_t value)
{
    if (reg == e.map.status_reg) {
        if (value == e.map.reset_val) {
            e.own(at_pending) = 0;
            e.reg(reg) = value;
        }
        return true;
    }
    if (e.map.streams && reg == e.map.wr_buf_reg) {
        fifo_byte(e, reg, at_wr_place) = value;
        return true;
    }
    if (reg == e.map.data_len_reg) {
        e.own(at_wr_place) = 0;
    } else if (reg == e.map.opcode_reg) {
        begin_stream(e);
    } else if (reg == e.map.start_reg && value == e.map.start_val) {
        e.own(at_pending) = 1;
        e.own(at_polls) = 0;
        e.reg(e.map.status_reg) = 0;
    }
    return false;
}

void poll_mode(const fpga_model &fpga)
{
    uint8_t &wanted = fpga.image[at_wanted_mode];
    uint8_t &polls = fpga.image[at_mode_polls];
    const unsigned needed = fpga.settings.mode_polls;
    if (wanted != 0 && needed != fpga_never && ++polls >= needed) {
        fpga.image[at_mode] = static_cast<uint8_t>(wanted - 1);
        wanted = 0;
    }
}

uint8_t read_mode(const fpga_model &fpga)
{
    poll_mode(fpga);
    if (fpga.image[at_wanted_mode] != 0) {
        return 0;
    }
    return fpga.image[at_mode] == mode_test ? fpga_test_mode_ack : fpga_normal_mode_ack;
}

void write_mode(const fpga_model &fpga, uint8_t value)
{
    if (value == fpga_test_mode_val || value == fpga_normal_mode_val) {
        fpga.image[at_wanted_mode] = (value == fpga_test_mode_val ? mode_test : mode_normal) + 1;
        fpga.image[at_mode_polls] = 0;
    }
}

} // namespace

uint8_t model_read(const fpga_model &fpga, uint16_t reg)
{
    if (reg == fpga_mode_reg) {
        return read_mode(fpga);
    }
    for (const engine &e : {indirect_engine(fpga), operation_engine(fpga)}) {
        if (reg == e.map.status_reg) {
            poll_status(e);
        } else if (e.map.streams && reg == e.map.rd_buf_reg) {
            return fifo_byte(e, reg, at_rd_place);
        }
    }
    return fpga.image[reg];
}

void model_write(const fpga_model &fpga, uint16_t reg, uint8_t value)
{
    if (reg == fpga_mode_reg) {
        write_mode(fpga, value);
        return;
    }
    bool taken = false;
    for (const engine &e : {indirect_engine(fpga), operation_engine(fpga)}) {
        taken = react_to_write(e, reg, value) || taken;
    }
    if (!taken) {
        fpga.image[reg] = value;
    }
}

bool access_fails(const fpga_model &fpga, uint32_t fingerprint, uint16_t reg, bool is_read)
{
    if (get_long(fpga.image, at_fingerprint) != fingerprint) {
        std::ranges::fill(fpga.image.subspan(at_counters, 4 * max_fpga_failures), uint8_t{0});
        put_long(fpga.image, at_fingerprint, fingerprint);
    }
    bool fails = false;
    for (size_t i = 0; i < fpga.settings.failures.size(); i++) {
        const fpga_failure &f = fpga.settings.failures[i];
        if (!(is_read ? f.reads : f.writes) || (f.reg && *f.reg != reg)) {
            continue;
        }
        const uint32_t count = get_long(fpga.image, at_counters + 4 * i) + 1;
        put_long(fpga.image, at_counters + 4 * i, count);
        fails = fails || count == f.nth || (f.and_later && count > f.nth);
    }
    return fails;
}

} // namespace boardsim
