/* SPDX-License-Identifier: MIT */
/* The FPGA behind the LPC mailbox, and the flash memory behind the FPGA, through both of its protocols. */
#include <boarddiag.h>

#include <string.h>

#include "broker.h"
#include "checks.h"

#define FLASH_DEVICE 0x01
#define OPCODE_WRITE 0x02
#define OPCODE_READ 0x03
#define OP_WRITE 0
#define OP_READ 1
#define NORMAL_MODE 1
#define SCRATCH_REG 0x0800

/* The sample board's FPGA. */
static const struct mbox_info mbox = {0x80, 0x81, 0x82, 0x83};

static const struct fpga_reg_map registers = {
    .dev_id_reg = 0x0400,
    .data_len_reg = 0x0401,
    .opcode_reg = 0x0402,
    .cmd_reg = 0x0403,
    .status_reg = 0x0406,
    .op_ctrl_reg = 0x0407,
    .wr_buf_reg = 0x0410,
    .rd_buf_reg = 0x0420,
    .mode = {0x0408, 0xa5, 0x5a, 0x3c, 0xc3},
    .op_start_val = 0x01,
    .op_done_val = 0x02,
    .flag_reset_val = 0x00,
    .op_fail_val = 0x04,
};

/* An indirect command that moves `length` bytes at the 24-bit address `addr` of the flash. */
static struct lpc_indr_info flash_command(uint8_t opcode, uint32_t addr, uint8_t *data, uint8_t length)
{
    const struct lpc_indr_info command = {
        .mbox = mbox,
        .dev_id_reg = 0x0100,
        .data_len_reg = 0x0101,
        .opcode_reg = 0x0102,
        .cmd_reg = 0x0103,
        .status_reg = 0x0106,
        .process_reg = 0x0107,
        .wr_buf_reg = 0x0200,
        .rd_buf_reg = 0x0300,
        .process_val = 0x01,
        .done_mask = 0x01,
        .err_mask = 0x80,
        .device_id = FLASH_DEVICE,
        .opcode = opcode,
        .cmd_len = 3,
        .cmd = {(uint8_t)addr, (uint8_t)(addr >> 8), (uint8_t)(addr >> 16)},
        .data_len = length,
        .data = data,
    };

    return command;
}

static void fill(uint8_t *data, size_t length, uint8_t seed)
{
    for (size_t i = 0; i < length; i++) {
        data[i] = (uint8_t)(seed + 7 * i);
    }
}

static bool check_register(void)
{
    uint8_t value = 0;

    return lpctool_set_mbox(&mbox, SCRATCH_REG, 0x5a, NULL, NULL, NULL, NULL, 0) == 0 &&
           lpctool_get_mbox(&mbox, SCRATCH_REG, &value, NULL, NULL, NULL, NULL, 0x10, 0) == 0 &&
           value == 0x5a;
}

/* Writes a block with an indirect command and reads it back with another, both on one road. */
static bool move_block(uint8_t through_broker, uint32_t addr)
{
    uint8_t written[8];
    uint8_t found[sizeof written] = {0};

    fill(written, sizeof written, (uint8_t)addr);
    const struct lpc_indr_info write = flash_command(OPCODE_WRITE, addr, written, sizeof written);
    const struct lpc_indr_info read = flash_command(OPCODE_READ, addr, found, sizeof found);
    return lpctool_indr_write(&write, &request, broker, "", "lpc", pause_timer, through_broker) == 0 &&
           lpctool_indr_read(&read, &request, broker, "", "lpc", pause_timer, through_broker) == 0 &&
           memcmp(found, written, sizeof found) == 0;
}

static bool check_indirect(void)
{
    return move_block(0, 0x000120);
}

/* Two chunks with an advancing address, then back to normal mode. */
static bool check_operation(void)
{
    struct fpga_dev_info write = {FLASH_DEVICE, {0xf0, 0x0f, 0x00}, 3, OPCODE_WRITE, mbox, 1};
    struct fpga_dev_info read = {FLASH_DEVICE, {0xf0, 0x0f, 0x00}, 3, OPCODE_READ, mbox, 1};
    uint8_t written[20];
    uint8_t found[sizeof written] = {0};

    fill(written, sizeof written, 0x31);
    return lpctool_mbox_indr_access_op(OP_WRITE, &write, &registers, written, sizeof written, 0) == 0 &&
           lpctool_mbox_indr_access_op(OP_READ, &read, &registers, found, sizeof found, 0) == 0 &&
           set_fpga_mode(&registers.mode, &mbox, NORMAL_MODE, 0) == 0 &&
           memcmp(found, written, sizeof found) == 0;
}

const struct check fpga_checks[] = {
    {"fpga register", check_register},
    {"fpga indirect command", check_indirect},
    {"fpga operation", check_operation},
    {NULL, NULL},
};

static bool check_broker_register(void)
{
    uint8_t value = 0;

    return lpctool_set_mbox(&mbox, SCRATCH_REG, 0xa5, &request, broker, "", "lpc", 1) == 0 &&
           lpctool_get_mbox(&mbox, SCRATCH_REG, &value, &request, broker, "", "lpc", 0x10, 1) == 0 &&
           value == 0xa5;
}

static bool check_broker_indirect(void)
{
    return move_block(1, 0x000240);
}

const struct check broker_fpga_checks[] = {
    {"fpga register through the broker", check_broker_register},
    {"fpga indirect command through the broker", check_broker_indirect},
    {NULL, NULL},
};
