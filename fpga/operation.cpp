/* SPDX-License-Identifier: MIT */
#include <algorithm>
#include <array>

#include <boarddiag/fpga.h>

#include "core/report.h"
#include "fpga/poll.h"

namespace {

constexpr int mode_reads = 21;
constexpr int ack_reads = 22;
constexpr int last_timely_ack = 19; // counted from 0: what the 21st read finds comes too late
constexpr uint32_t chunk_size = 16;
constexpr uint32_t test_mode = 0;
constexpr uint32_t op_write = 0;
constexpr uint32_t op_read = 1;

struct mode_entry {
    const char *name;
    uint8_t fpga_mode_info::*value;
    uint8_t fpga_mode_info::*ack;
};

constexpr std::array<mode_entry, 2> modes{{
    {"test", &fpga_mode_info::test_mode_val, &fpga_mode_info::test_mode_ack},
    {"normal", &fpga_mode_info::normal_mode_val, &fpga_mode_info::normal_mode_ack},
}};

struct operation {
    const char *function;
    uint32_t op;
    fpga_dev_info *dev;
    const fpga_reg_map *map;
};

// How a chunk's bytes move, and what a failure means.
struct buffer_access {
    uint32_t (*move)(const mbox_info *mbox, uint32_t reg, uint8_t *byte);
    uint16_t fpga_reg_map::*reg;
    const char *failure;
    uint32_t status;
};

// Without a request record there is no way through the bus broker: all goes by lpctool.
uint32_t put(const mbox_info *mbox, uint32_t reg, uint8_t value)
{
    return lpctool_set_mbox(mbox, reg, value, nullptr, nullptr, nullptr, nullptr, 0);
}

uint32_t put_byte(const mbox_info *mbox, uint32_t reg, uint8_t *byte)
{
    return put(mbox, reg, *byte);
}

uint32_t get_byte(const mbox_info *mbox, uint32_t reg, uint8_t *byte)
{
    return lpctool_get_mbox(mbox, reg, byte, nullptr, nullptr, nullptr, nullptr, boarddiag::mbox_read_code,
                            0);
}

constexpr buffer_access buffer_write{put_byte, &fpga_reg_map::wr_buf_reg,
                                     "Failed to write to FPGA write register \n", DIAG_ERR_INVALID_ARG};
constexpr buffer_access buffer_read{get_byte, &fpga_reg_map::rd_buf_reg,
                                    "Failed to Read from FPGA read buffer \n", DIAG_ERR_ACCESS};

bool has_path(const char *function, uint8_t busbroker)
{
    if (busbroker == 0) {
        return true;
    }
    REPORT_ERROR(function, "FPGA operations do not go through the bus broker\n");
    return false;
}

uint32_t start(const char *function, const mbox_info *mbox, uint32_t reg, uint8_t value)
{
    if (put(mbox, reg, value) == 0) {
        return 0;
    }
    REPORT_FOLLOW_UP(function, "Error while setting the mode control\n");
    return DIAG_ERR_INVALID_ARG;
}

// The result of one status read; a failed read leaves the status byte as it was.
// Where the status could not be read, that is the reason.
void tell_silence(const char *function, uint32_t result, const char *message)
{
    if (result != 0) {
        REPORT_FOLLOW_UP(function, "%s", message);
    } else {
        REPORT_ERROR(function, "%s", message);
    }
}

uint32_t read_ack(const char *function, const mbox_info *mbox, const fpga_reg_map *map, uint8_t *status_byte)
{
    uint8_t value = *status_byte; // a tool that writes nothing leaves it so
    const uint32_t status = get_byte(mbox, map->status_reg, &value);
    if (status == 0) {
        *status_byte = value;
        return 0;
    }
    REPORT_FOLLOW_UP(function, "Error while reading FPGA status %d\n", status);
    return DIAG_ERR_INVALID_ARG;
}

uint32_t write_reg(const operation &o, uint32_t reg, uint8_t value, const char *failure)
{
    if (put(&o.dev->mbox, reg, value) == 0) {
        return 0;
    }
    REPORT_FOLLOW_UP(o.function, "%s", failure);
    return DIAG_ERR_INVALID_ARG;
}

uint32_t write_cmd(const operation &o)
{
    for (uint32_t i = 0; i < o.dev->cmd_len; i++) {
        const uint32_t reg = o.map->cmd_reg + i;
        if (put(&o.dev->mbox, reg, o.dev->cmd[i]) != 0) {
            REPORT_FOLLOW_UP(o.function, "Failed to write to cmd register %d \n", reg);
            return DIAG_ERR_INVALID_ARG;
        }
    }
    return 0;
}

uint32_t reset_flag(const operation &o)
{
    return write_reg(o, o.map->status_reg, o.map->flag_reset_val, "Unable to reset FPGA flag \n");
}

uint32_t move_chunk(const operation &o, const buffer_access &access, uint8_t *buf, uint32_t count)
{
    for (uint32_t i = 0; i < count; i++) {
        const uint32_t reg = o.map->*access.reg + (o.dev->addr_incr != 0 ? i : 0);
        if (access.move(&o.dev->mbox, reg, &buf[i]) != 0) {
            REPORT_FOLLOW_UP(o.function, "%s", access.failure);
            reset_flag(o);
            return access.status;
        }
    }
    return 0;
}

// A write fills the buffer before the chunk is started, a read empties it after the acknowledgement.
uint32_t transfer(const operation &o, uint8_t *buf, uint32_t count)
{
    uint32_t status = o.op == op_write ? move_chunk(o, buffer_write, buf, count) : 0;
    if (status == 0) {
        status = check_fpga_op_ack(&o.dev->mbox, o.map, 0);
    }
    if (status == 0 && o.op == op_read) {
        status = move_chunk(o, buffer_read, buf, count);
    }
    return status != 0 ? status : reset_flag(o);
}

void advance_address(fpga_dev_info *dev)
{
    uint32_t address = dev->cmd[0] + 0x100u * dev->cmd[1] + 0x10000u * dev->cmd[2];
    address += chunk_size;
    for (uint8_t &byte : dev->cmd) {
        byte = static_cast<uint8_t>(address);
        address >>= 8;
    }
}

uint32_t run_chunk(const operation &o, uint8_t *buf, uint32_t count)
{
    uint32_t status = write_reg(o, o.map->data_len_reg, static_cast<uint8_t>(count),
                                "Failed to write to data length register\n");
    if (status == 0) {
        status = write_cmd(o);
    }
    if (status == 0) {
        status = transfer(o, buf, count);
    }
    if (status == 0 && o.dev->addr_incr != 0) {
        advance_address(o.dev);
    }
    return status;
}

uint32_t run_chunks(const operation &o, uint8_t *buf, uint32_t len)
{
    uint32_t status = 0;
    while (len != 0 && status == 0) {
        const uint32_t count = std::min(len, chunk_size);
        status = run_chunk(o, buf, count);
        buf += count;
        len -= count;
    }
    return status;
}

uint32_t prepare(const operation &o)
{
    uint32_t status = set_fpga_mode(&o.map->mode, &o.dev->mbox, test_mode, 0);
    if (status != 0) {
        REPORT_FOLLOW_UP(o.function, "unable to set FPGA in to test mode\n");
        return status;
    }
    status = write_reg(o, o.map->dev_id_reg, o.dev->device_id, "Failed to write dev id\n");
    if (status == 0) {
        status = write_reg(o, o.map->opcode_reg, o.dev->opcode, "Failed to write to op_code register\n");
    }
    return status;
}

} // namespace

uint32_t set_fpga_mode(const struct fpga_mode_info *mode_info, const struct mbox_info *mbox,
                       uint32_t fpga_mode, uint8_t busbroker)
{
    if (fpga_mode >= modes.size()) {
        REPORT_ERROR(__func__, "Input FPGA mode is invalid\n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (!has_path(__func__, busbroker)) {
        return DIAG_ERR_INVALID_ARG;
    }
    const mode_entry &mode = modes[fpga_mode];
    diag_print(3, "Setting PFGA into %s mode\n", mode.name);
    // A failed read leaves its mark on the result, even when the mode is acknowledged later.
    uint32_t result = start(__func__, mbox, mode_info->mode_reg, mode_info->*mode.value);
    if (result != 0) {
        return result;
    }
    for (int n = 0; n < mode_reads; n++) {
        auto ack = static_cast<uint8_t>(~(mode_info->*mode.ack)); // nothing read is no acknowledgement
        boarddiag::pause_between_polls();
        const uint32_t status = get_byte(mbox, mode_info->mode_reg, &ack);
        if (status != 0) {
            REPORT_FOLLOW_UP(__func__, "Reading FPGA status %d\n", status);
            result = DIAG_ERR_INVALID_ARG;
        } else if (ack == mode_info->*mode.ack) {
            return result;
        }
    }
    tell_silence(__func__, result, "FPGA didn't respond to mode setting\n");
    return DIAG_ERR_INVALID_ARG;
}

uint32_t check_fpga_op_ack(const struct mbox_info *mbox, const struct fpga_reg_map *reg_map,
                           uint8_t busbroker)
{
    if (mbox == nullptr || reg_map == nullptr) {
        REPORT_ERROR(__func__, "Null pointers received \n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (!has_path(__func__, busbroker) ||
        start(__func__, mbox, reg_map->op_ctrl_reg, reg_map->op_start_val) != 0) {
        return DIAG_ERR_INVALID_ARG;
    }
    uint8_t status_byte = 0;
    uint32_t result = 0;
    for (int n = 0; n < ack_reads; n++) {
        boarddiag::pause_between_polls();
        // Only the read that sees the acknowledgement decides; what earlier reads met is forgotten.
        result = read_ack(__func__, mbox, reg_map, &status_byte);
        const bool failed = status_byte == reg_map->op_fail_val;
        if (failed) {
            REPORT_ERROR(__func__, "Current lpctool mbox indirect operation fail \n");
        }
        const bool settled = failed || status_byte == reg_map->op_done_val;
        if (settled && n <= last_timely_ack) {
            return failed ? DIAG_ERR_INVALID_ARG : result;
        }
        if (settled) {
            break;
        }
    }
    tell_silence(__func__, result, "FPGA didn't respond to operation setting\n");
    return DIAG_ERR_INVALID_ARG;
}

uint32_t lpctool_mbox_indr_access_op(uint32_t op, struct fpga_dev_info *dev,
                                     const struct fpga_reg_map *reg_map, uint8_t *buf, uint32_t len,
                                     uint8_t busbroker)
{
    if (buf == nullptr) {
        REPORT_ERROR(__func__, "Input buffer pointer is a NULL\n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (!has_path(__func__, busbroker) || !boarddiag::cmd_len_fits(__func__, dev->cmd_len)) {
        return DIAG_ERR_INVALID_ARG;
    }
    const operation o{__func__, op, dev, reg_map};
    const uint32_t status = prepare(o);
    return status != 0 ? status : run_chunks(o, buf, len);
}
