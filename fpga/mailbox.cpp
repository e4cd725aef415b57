/* SPDX-License-Identifier: MIT */
#include <cstring>

#include <boarddiag/access.h>
#include <boarddiag/busbroker.h>
#include <boarddiag/fpga.h>

#include "core/reason.h"
#include "core/report.h"

namespace {

constexpr const char mbox_pipe[] = "/tmp/mbox_pipe";
constexpr char byte_access = 'b';

constexpr uint32_t mbox_priority = 0;
constexpr uint8_t mbox_flags = 0x04;
constexpr uint8_t mbox_write_code = 0x1c;
constexpr uint8_t mbox_width = 8;

struct mbox_call;

// One of the three steps of an access: the mailbox register that it touches, its place in the broker's
// transaction, and how its failure is told.
struct mbox_step {
    uint32_t mbox_info::*reg;
    uint32_t transac_ind;
    const char *failure;
};

constexpr mbox_step high_addr_step{&mbox_info::high_addr_reg, 1, "Writing Mbox high addr"};
constexpr mbox_step low_addr_step{&mbox_info::low_addr_reg, 2, "Writing Mbox low addr"};
constexpr mbox_step data_read_step{&mbox_info::read_data_reg, 5, "Read Mbox data reg"};
constexpr mbox_step data_write_step{&mbox_info::write_data_reg, 5, "Write Mbox data reg"};

// The road to the mailbox registers, and what differs in what it tells.
struct mbox_path {
    uint32_t (*write)(mbox_call &call, const mbox_step &step);
    uint32_t (*read)(mbox_call &call, const mbox_step &step);
    const char *failure_format;
    bool logs_data_write;
};

struct mbox_call {
    const char *function;
    const mbox_info *mbox;
    const mbox_path *path;
    busbroker_req_resp *req;
    tool_info *tool;
    const char *dev_id;
    const char *dev_name;
    uint8_t read_code; // the broker knows the low 8 bits only
    uint8_t *read_data;
    uint8_t written; // carries the byte of each write; the request record points at it
};

uint32_t tool_write(mbox_call &call, const mbox_step &step)
{
    return lpctool_set(call.mbox->*step.reg, &call.written, 1, byte_access, 0);
}

uint32_t tool_read(mbox_call &call, const mbox_step &step)
{
    return lpctool_get(call.mbox->*step.reg, 1, byte_access, mbox_pipe, call.read_data);
}

uint32_t send(const mbox_call &call, uint32_t req_type, const mbox_step &step)
{
    return request_busbroker(call.req, call.tool, call.dev_id, call.dev_name, mbox_priority, req_type,
                             step.transac_ind);
}

// The record is filled at the first write; the writes that follow change its address and the byte alone.
uint32_t broker_write(mbox_call &call, const mbox_step &step)
{
    const uint32_t addr = call.mbox->*step.reg;
    if (step.transac_ind == high_addr_step.transac_ind) {
        update_busbroker_req_fields(call.req, addr, 1, mbox_width, &call.written, mbox_flags, BB_REQ_WRITE,
                                    mbox_write_code, nullptr, 0);
    } else {
        call.req->addr = addr; // a null record has failed at the first write
    }
    return send(call, BB_REQ_WRITE, step);
}

uint32_t broker_read(mbox_call &call, const mbox_step &step)
{
    update_busbroker_req_fields(call.req, call.mbox->*step.reg, 1, mbox_width, call.read_data, mbox_flags,
                                BB_REQ_READ, call.read_code, nullptr, 0);
    return send(call, BB_REQ_READ, step);
}

constexpr mbox_path tool_path{tool_write, tool_read, "%s %x\n", true};
constexpr mbox_path broker_path{broker_write, broker_read, "%s %d\n", false};

const mbox_path *path_for(uint8_t busbroker)
{
    return busbroker != 0 ? &broker_path : &tool_path;
}

void log_access(const mbox_call &call, const mbox_step &step, uint8_t value)
{
    diag_print(2, "reg %x= %x\n", call.mbox->*step.reg, value);
}

uint32_t judged(const mbox_call &call, const mbox_step &step, uint32_t status)
{
    if (status != 0) {
        REPORT_FOLLOW_UP(call.function, call.path->failure_format, step.failure, status);
    }
    return status;
}

uint32_t write_step(mbox_call &call, const mbox_step &step, uint32_t value)
{
    call.written = static_cast<uint8_t>(value);
    if (&step != &data_write_step || call.path->logs_data_write) {
        log_access(call, step, call.written);
    }
    return judged(call, step, call.path->write(call, step));
}

uint32_t read_step(mbox_call &call)
{
    const uint32_t status = judged(call, data_read_step, call.path->read(call, data_read_step));
    if (status == 0) {
        log_access(call, data_read_step, *call.read_data);
    }
    return status;
}

uint32_t select_reg(mbox_call &call, uint32_t reg)
{
    const uint32_t status = write_step(call, high_addr_step, reg >> 8);
    return status != 0 ? status : write_step(call, low_addr_step, reg);
}

// The byte dies with the call, and the place for the answer may: the record must not go on pointing at them.
// The texts are released for a caller who knows of no request.
uint32_t finished(const mbox_call &call, uint32_t status)
{
    if (call.path == &broker_path && call.req != nullptr) {
        call.req->write_data = nullptr;
        call.req->resp_buf = nullptr;
        free_req_texts(call.req);
    }
    return status;
}

bool is_wanted(const mbox_indr_dev_cfg &entry, bool by_id, const char *name, uint32_t id)
{
    if (by_id) {
        return entry.id == id;
    }
    return name != nullptr && entry.name != nullptr && strncmp(entry.name, name, strlen(name)) == 0;
}

} // namespace

uint32_t lpctool_get_mbox(const struct mbox_info *mbox, uint32_t reg, uint8_t *data,
                          struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                          const char *dev_name, uint32_t code, uint8_t busbroker)
{
    mbox_call call{__func__, mbox,     path_for(busbroker),        req,  tool,
                   dev_id,   dev_name, static_cast<uint8_t>(code), data, 0};
    const uint32_t status = select_reg(call, reg);
    return finished(call, status != 0 ? status : read_step(call));
}

uint32_t lpctool_set_mbox(const struct mbox_info *mbox, uint32_t reg, uint32_t value,
                          struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                          const char *dev_name, uint8_t busbroker)
{
    mbox_call call{__func__, mbox, path_for(busbroker), req, tool, dev_id, dev_name, 0, nullptr, 0};
    const uint32_t status = select_reg(call, reg);
    return finished(call, status != 0 ? status : write_step(call, data_write_step, value));
}

struct mbox_indr_dev_cfg *get_lpctool_mbox_indr_dev_cfg(struct mbox_indr_dev_cfg **list, uint8_t by_id,
                                                        const char *name, uint32_t id)
{
    if (list == nullptr || *list == nullptr) {
        boarddiag::set_reason("no mailbox devices in the list");
        diag_print(0, "No devices found in the dev list\n");
        return nullptr;
    }
    mbox_indr_dev_cfg *entry = *list;
    while (entry != nullptr && !is_wanted(*entry, by_id != 0, name, id)) {
        entry = entry->next;
    }
    return entry;
}
