/* SPDX-License-Identifier: MIT */
#include <array>

#include <boarddiag/fpga.h>
#include <boarddiag/timer.h>

#include "core/report.h"
#include "fpga/poll.h"

namespace {

constexpr int poll_attempts = 21;
constexpr double poll_pause_s = 0.1;

struct indr_call;
struct indr_step;
using step_fn = uint32_t (*)(indr_call &call, const indr_step &step);

// One step of a sequence: what it does, the FPGA register that it starts at, the field with the byte to write
// (null: 0; a step over several bytes finds their number there, a poll has none), and how a failed access is
// told. A step over several bytes tells the index before the status.
struct indr_step {
    step_fn run;
    uint32_t lpc_indr_info::*reg;
    uint8_t lpc_indr_info::*value;
    const char *failure;
};

// What differs between the two directions besides their steps.
struct indr_direction {
    std::array<indr_step, 9> steps;
    const char *null_end; // ends the message about a null descriptor
    const char *status_failure;
    bool heeds_err_mask;
    bool failed_poll_tells_status;
};

struct indr_call {
    const char *function;
    const indr_direction *direction;
    const lpc_indr_info *info;
    busbroker_req_resp *req;
    tool_info *tool;
    const char *dev_id;
    const char *dev_name;
    timer_t timer;
    uint8_t busbroker;
    uint8_t status_byte;
    uint32_t result; // of the status check; the flag is reset before it is returned
};

uint32_t put(const indr_call &call, uint32_t reg, uint8_t value)
{
    return lpctool_set_mbox(&call.info->mbox, reg, value, call.req, call.tool, call.dev_id, call.dev_name,
                            call.busbroker);
}

uint32_t get(const indr_call &call, uint32_t reg, uint8_t *value)
{
    return lpctool_get_mbox(&call.info->mbox, reg, value, call.req, call.tool, call.dev_id, call.dev_name,
                            boarddiag::mbox_read_code, call.busbroker);
}

uint32_t judged(const indr_call &call, const indr_step &step, uint32_t status)
{
    if (status != 0) {
        REPORT_FOLLOW_UP(call.function, step.failure, status);
    }
    return status;
}

uint32_t judged_at(const indr_call &call, const indr_step &step, uint32_t index, uint32_t status)
{
    if (status != 0) {
        REPORT_FOLLOW_UP(call.function, step.failure, index, status);
    }
    return status;
}

void tell_status(const indr_call &call)
{
    REPORT_ERROR(call.function, call.direction->status_failure, call.status_byte);
}

uint32_t write_value(indr_call &call, const indr_step &step)
{
    const uint8_t value = step.value != nullptr ? call.info->*step.value : uint8_t{0};
    return judged(call, step, put(call, call.info->*step.reg, value));
}

uint32_t write_bytes(const indr_call &call, const indr_step &step, const uint8_t *bytes, uint8_t count)
{
    uint32_t status = 0;
    for (uint32_t i = 0; i < count && status == 0; i++) {
        status = judged_at(call, step, i, put(call, call.info->*step.reg + i, bytes[i]));
    }
    return status;
}

uint32_t write_cmd(indr_call &call, const indr_step &step)
{
    return write_bytes(call, step, call.info->cmd, call.info->*step.value);
}

uint32_t write_data(indr_call &call, const indr_step &step)
{
    return write_bytes(call, step, call.info->data, call.info->*step.value);
}

uint32_t read_status(indr_call &call, const indr_step &step)
{
    uint8_t value = 0;
    const uint32_t status = judged(call, step, get(call, call.info->*step.reg, &value));
    if (status == 0) {
        call.status_byte = value;
    } else if (call.direction->failed_poll_tells_status) {
        REPORT_FOLLOW_UP(call.function, call.direction->status_failure, call.status_byte);
    }
    return status;
}

// A status that stays 0 to the end is no failure here: it is the status check that it does not pass.
uint32_t poll_status(indr_call &call, const indr_step &step)
{
    uint32_t status = 0;
    for (int attempt = 0; attempt < poll_attempts && status == 0 && call.status_byte == 0; attempt++) {
        if (call.busbroker != 0) {
            waitfor_timeout(call.timer, poll_pause_s);
        } else {
            boarddiag::pause_between_polls();
        }
        status = read_status(call, step);
    }
    return status;
}

bool status_passes(indr_call &call)
{
    const bool failed = call.direction->heeds_err_mask && (call.status_byte & call.info->err_mask) != 0;
    if (!failed && (call.status_byte & call.info->done_mask) != 0) {
        return true;
    }
    tell_status(call);
    call.result = DIAG_ERR_INVALID_ARG;
    return false;
}

uint32_t poll_and_check(indr_call &call, const indr_step &step)
{
    const uint32_t status = poll_status(call, step);
    if (status == 0) {
        status_passes(call);
    }
    return status;
}

uint32_t check_and_read(indr_call &call, const indr_step &step)
{
    const uint32_t count = status_passes(call) ? call.info->*step.value : 0;
    uint32_t status = 0;
    for (uint32_t i = 0; i < count && status == 0; i++) {
        status = judged_at(call, step, i, get(call, call.info->*step.reg + i, &call.info->data[i]));
    }
    return status;
}

using info = lpc_indr_info;

constexpr indr_direction reading{
    {{
        {write_value, &info::dev_id_reg, &info::device_id, "Writing Config Reg %d\n"},
        {write_value, &info::data_len_reg, &info::data_len, "Setting data length %d\n"},
        {write_value, &info::opcode_reg, &info::opcode, "Set Opcode %d\n"},
        {write_cmd, &info::cmd_reg, &info::cmd_len, "Set command CMD[%d] %d\n"},
        {write_value, &info::status_reg, nullptr, "Init FPGA status flag %d\n"},
        {write_value, &info::process_reg, &info::process_val, "Req FPGA to process cmd %d\n"},
        {poll_status, &info::status_reg, nullptr, "Reading FPGA status %d\n"},
        {check_and_read, &info::rd_buf_reg, &info::data_len, "Reading data r_data[%d] %d\n"},
        {write_value, &info::status_reg, nullptr, "Reset FPGA status flag %d\n"},
    }},
    "",
    "LPC indirect read error %d\n",
    false,
    false,
};

constexpr indr_direction writing{
    {{
        {write_value, &info::dev_id_reg, &info::device_id, "Set Device ID %d\n"},
        {write_value, &info::data_len_reg, &info::data_len, "Set data length %d\n"},
        {write_value, &info::opcode_reg, &info::opcode, "Set Opcode %d\n"},
        {write_cmd, &info::cmd_reg, &info::cmd_len, "Setting cmd[%d] %d\n"},
        {write_data, &info::wr_buf_reg, &info::data_len, "Writing data w_data[%d] %d\n"},
        {write_value, &info::status_reg, nullptr, "Init FPGA status flag %d\n"},
        {write_value, &info::process_reg, &info::process_val, "Request FPGA to process Cmd %d\n"},
        {poll_and_check, &info::status_reg, nullptr, "Reading FPGA status %d\n"},
        {write_value, &info::status_reg, nullptr, "Reset FPGA status flag %d\n"},
    }},
    "\n",
    "LPC indirect write error %x\n",
    true,
    true,
};

void log_command(const lpc_indr_info &command)
{
    diag_print(3, "LI:Dev ID= %x\n", command.device_id);
    diag_print(3, "LI:Opcode= %x\n", command.opcode);
    diag_print(3, "LI:Data len= %d\n", command.data_len);
    diag_print(3, "LI:Cmd len= %d\n", command.cmd_len);
    for (int i = 0; i < 3; i++) {
        diag_print(3, "LI:Cmd[%d]= %x\n", i, command.cmd[i]);
    }
    diag_print(3, "\n");
}

bool is_complete(const indr_call &call)
{
    if (call.info == nullptr || (call.info->data == nullptr && call.info->data_len != 0)) {
        REPORT_ERROR(call.function, "Null pointers%s", call.direction->null_end);
        return false;
    }
    return boarddiag::cmd_len_fits(call.function, call.info->cmd_len);
}

uint32_t run(indr_call call)
{
    if (!is_complete(call)) {
        return DIAG_ERR_INVALID_ARG;
    }
    log_command(*call.info);
    for (const indr_step &step : call.direction->steps) {
        const uint32_t status = step.run(call, step);
        if (status != 0) {
            return status;
        }
    }
    return call.result;
}

} // namespace

uint32_t lpctool_indr_read(const struct lpc_indr_info *info, struct busbroker_req_resp *req,
                           struct tool_info *tool, const char *dev_id, const char *dev_name, timer_t timer,
                           uint8_t busbroker)
{
    return run({__func__, &reading, info, req, tool, dev_id, dev_name, timer, busbroker, 0, 0});
}

uint32_t lpctool_indr_write(const struct lpc_indr_info *info, struct busbroker_req_resp *req,
                            struct tool_info *tool, const char *dev_id, const char *dev_name, timer_t timer,
                            uint8_t busbroker)
{
    return run({__func__, &writing, info, req, tool, dev_id, dev_name, timer, busbroker, 0, 0});
}
