/* SPDX-License-Identifier: MIT */
#include <boarddiag/access.h>
#include <boarddiag/busbroker.h>

#include "access/tool.h"
#include "core/report.h"

const struct reg_info reg8_data8 = {REG8, DATA8, 0};
const struct reg_info reg16_data8 = {REG16, DATA8, 0};
const struct reg_info reg16_data8_le = {REG16, DATA8, 1};
const struct reg_info regblk_datablk = {REGBLK, DATABLK, 0};
const struct reg_info reg8_data16 = {REG8, DATA16, 0};

namespace {

using boarddiag::command_line;

constexpr boarddiag::fifo_frame i2c_frame = {
    .create_failed = "Error Creating I2C pipe %s\n",
    .open_failed = "Could Not open End of i2c Pipe (%s) [%c]\n",
    .command_traced = "i2ctool_get: %s\n",
    .run_failed = "%s\nError Reading from I2C\n",
    .failed_status = 0,
    .count_level = boarddiag::bytes_read_level,
    .count_traced = boarddiag::bytes_read_traced,
};

// How i2ctool names a register, by register mode; reads and writes give a block its register differently.
struct register_option {
    const char *format;
    uint16_t mask;
};

constexpr register_option read_options[] = {
    {"--reg=0x%02x", 0xff},
    {"--reg16=0x%04x", 0xffff},
    {"--regblock=0x%02x", 0xff},
};

constexpr register_option write_options[] = {
    {"--reg=0x%02x", 0xff},
    {"--reg16=0x%04x", 0xffff},
    {"--regblock=0x%04x", 0xffff},
};

constexpr boarddiag::run_frame write_frame = {
    .traced_level = 1,
    .traced = "i2ctool_set: %s\n",
    .failed_level = -1,
    .failed = "%s\nError writing to I2C device\n",
    .failed_shows = boarddiag::shown::failed_mark,
    .failed_status = boarddiag::status_minus_one,
    .done = nullptr,
    .dry = boarddiag::dry_run::is_error,
};

constexpr boarddiag::run_frame no_data_frame = {
    .traced_level = 1,
    .traced = "i2ctool_set_no_data: %s\n",
    .failed_level = 0,
    .failed = write_frame.failed,
    .failed_shows = boarddiag::shown::failed_mark,
    .failed_status = DIAG_ERR_FAILED,
    .done = nullptr,
    .dry = boarddiag::dry_run::runs,
};

// What the bus broker is asked to write when a device is only to be addressed, and how. A request that is not
// waited for outlives its call, so the bytes do too.
constexpr uint8_t no_data_value = 0xff;
constexpr uint8_t no_data_support = 0x01;
constexpr uint32_t no_data_priority = 0;
constexpr uint32_t no_data_indication = 5;

// The option by which the calls without bus control differ from the others.
constexpr const char *with_control = "";
constexpr const char *without_control = "--no_control ";

constexpr int32_t pec_flag = 0x01;

bool check_reg_info(const char *function, const struct reg_info *reg_info)
{
    if (reg_info == nullptr) {
        REPORT_ERROR(function, "Invalid reg_info pointer\n");
        return false;
    }
    return true;
}

// The value of --width= for a data width, 0 after a report when there is none.
int width_bits(const char *function, uint32_t data_width)
{
    switch (data_width) {
    case DATA8:
    case DATABLK:
        return 8;
    case DATA16:
        return 16;
    default:
        REPORT_ERROR(function, "Invalid width size %d\n", static_cast<int>(data_width));
        return 0;
    }
}

bool append_register(const char *function, command_line *command, const register_option (&options)[3],
                     uint32_t reg_mode, uint16_t reg)
{
    if (reg_mode > REGBLK) {
        REPORT_ERROR(function, "Invalid Addressing mode %d\n", static_cast<int>(reg_mode));
        return false;
    }
    boarddiag::command_append(command, options[reg_mode].format, reg & options[reg_mode].mask);
    return true;
}

void append_byte_order(command_line *command, const struct reg_info *reg_info)
{
    if (reg_info->reg_le != 0) {
        boarddiag::command_append(command, " --reg_le");
    }
}

struct i2c_read {
    const char *control;
    const char *bus;
    uint8_t addr;
    uint16_t reg;
    const struct reg_info *reg_info;
    int32_t count;
};

uint32_t build_read(const boarddiag::fifo_call *call, const i2c_read *read, command_line *command)
{
    const int width = width_bits(call->function, read->reg_info->data_width);

    if (width == 0) {
        return boarddiag::status_minus_one;
    }
    boarddiag::command_format(command, "%s --read --bus=%s --addr=0x%02x --count=%d --pipe=%s --width=%d ",
                              boarddiag::i2c_tool, read->bus, read->addr, read->count, call->pipe, width);
    boarddiag::command_append(command, "%s", read->control);
    if (!append_register(call->function, command, read_options, read->reg_info->reg_mode, read->reg)) {
        return boarddiag::status_minus_one;
    }
    append_byte_order(command, read->reg_info);
    return 0;
}

uint32_t read_register(boarddiag::fifo_call *call, const i2c_read *read)
{
    command_line command;

    if (!check_reg_info(call->function, read->reg_info)) {
        return boarddiag::status_minus_one;
    }
    if (boarddiag::dry_read(static_cast<uint8_t *>(call->data))) {
        return 0;
    }
    uint32_t status = boarddiag::fifo_run_begin(call);
    if (status != 0) {
        return status;
    }
    status = build_read(call, read, &command);
    return boarddiag::fifo_run_end(call, status, &command);
}

struct i2c_write {
    const char *control;
    const char *bus;
    uint8_t addr;
    uint16_t reg;
    const struct reg_info *reg_info;
    std::span<const uint8_t> values;
    int32_t flag;
    uint8_t busbroker_req;
};

void append_write_options(command_line *command, const i2c_write *write)
{
    if (write->flag != 0) {
        boarddiag::command_append(command, "--flag=%s ", (write->flag & pec_flag) != 0 ? "pec" : "");
    }
    if (write->busbroker_req != 0) {
        boarddiag::command_append(command, "--busbroker_req ");
    }
    boarddiag::command_append(command, "%s", write->control);
}

uint32_t write_register(const char *function, const i2c_write *write)
{
    command_line command;

    if (!check_reg_info(function, write->reg_info)) {
        return boarddiag::status_minus_one;
    }
    const int width = width_bits(function, write->reg_info->data_width);
    if (width == 0) {
        return boarddiag::status_minus_one;
    }
    boarddiag::command_format(&command, "%s --write --bus=%s --addr=0x%02x --width=%d ", boarddiag::i2c_tool,
                              write->bus, write->addr, width);
    append_write_options(&command, write);
    if (!append_register(function, &command, write_options, write->reg_info->reg_mode, write->reg)) {
        return boarddiag::status_minus_one;
    }
    boarddiag::command_append(&command, " --val=");
    boarddiag::append_values(&command, &boarddiag::comma_list, write->values);
    append_byte_order(&command, write->reg_info);
    return boarddiag::plain_run(&write_frame, function, &command);
}

uint32_t address_with_tool(const char *function, const char *bus, uint8_t addr)
{
    command_line command;

    if (bus == nullptr) {
        REPORT_ERROR(function, "invalid I2C bus path\n");
        return DIAG_ERR_INVALID_ARG;
    }
    boarddiag::command_format(&command, "%s --no_data --bus=%s --addr=0x%02x ", boarddiag::i2c_tool, bus,
                              addr);
    return boarddiag::plain_run(&no_data_frame, function, &command);
}

uint32_t address_with_broker(const char *function, const struct busbroker_dev_info *dev_info)
{
    if (dev_info == nullptr || dev_info->req == nullptr) {
        REPORT_ERROR(function, "Rx NULL pointer\n");
        return DIAG_ERR_INVALID_ARG;
    }
    struct busbroker_req_resp *req = dev_info->req;
    req->support_count = 1;
    req->support_bytes = &no_data_support;
    req->write_data = &no_data_value;
    req->count = 1;
    const uint32_t status = request_busbroker(req, dev_info->tool, dev_info->dev_id, dev_info->dev_name,
                                              no_data_priority, BB_REQ_WRITE, no_data_indication);
    free_req_texts(req);
    return status;
}

} // namespace

uint32_t i2ctool_get(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                     int32_t count, const char *pipe, uint8_t *data)
{
    boarddiag::fifo_call call = {&i2c_frame, __func__, pipe, data, count, -1, 0};
    const i2c_read read = {with_control, bus, addr, reg, reg_info, count};

    return read_register(&call, &read);
}

uint32_t i2ctool_get_no_cntrl(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                              int32_t count, const char *pipe, uint8_t *data)
{
    boarddiag::fifo_call call = {&i2c_frame, __func__, pipe, data, count, -1, 0};
    const i2c_read read = {without_control, bus, addr, reg, reg_info, count};

    return read_register(&call, &read);
}

uint32_t i2ctool_set(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                     const uint8_t *data, int32_t count, int32_t flag, uint8_t busbroker_req)
{
    const i2c_write write = {with_control, bus, addr, reg, reg_info, boarddiag::values_of(data, count), flag,
                             busbroker_req};

    return write_register(__func__, &write);
}

uint32_t i2ctool_set_no_cntrl(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                              const uint8_t *data, int32_t count, int32_t flag, uint8_t busbroker_req)
{
    const i2c_write write = {
        without_control, bus, addr, reg, reg_info, boarddiag::values_of(data, count), flag, busbroker_req};

    return write_register(__func__, &write);
}

uint32_t i2ctool_set_no_data(const struct busbroker_dev_info *dev_info, uint8_t use_i2ctool, const char *bus,
                             uint8_t addr)
{
    return use_i2ctool != 0 ? address_with_tool(__func__, bus, addr)
                            : address_with_broker(__func__, dev_info);
}
