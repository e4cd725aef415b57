/* SPDX-License-Identifier: MIT */
#include "fpga/board.h"

#include <cerrno>
#include <cstdarg>

board fpga;

namespace {

__attribute__((format(printf, 1, 2))) std::string text(const char *format, ...)
{
    char buffer[160];
    va_list args;
    va_start(args, format);
    vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    return buffer;
}

} // namespace

uint32_t board::touch(uint32_t addr, uint8_t *byte, bool write)
{
    const bool in_order = addr == (step < 2 ? 0x80u + static_cast<uint32_t>(step) : write ? 0x83u : 0x82u);
    if (!in_order) {
        accesses += text("out of order: %x ", addr);
    }
    if (step < 2) {
        reg = (reg << 8 | *byte) & 0xffff;
    }
    const bool fails = failures.contains(count) && step == failing_step;
    const uint32_t status = fails ? failures[count] : 0;
    if (step == 2 || fails) {
        accesses +=
            write && step == 2 ? text("W%x=%x", reg, *byte) : text("%s%x", step == 2 ? "R" : "A", reg);
        accesses += fails ? "! " : " ";
        count++;
    }
    if (!write && !fails && !values[reg].empty()) {
        *byte = values[reg].front();
        if (values[reg].size() > 1) {
            values[reg].erase(values[reg].begin());
        }
    }
    step = step == 2 || fails ? 0 : step + 1;
    return status;
}

std::string written(uint32_t reg, const std::vector<uint8_t> &bytes, bool advance)
{
    std::string result;
    for (const uint8_t byte : bytes) {
        result += text("W%x=%x ", reg, byte);
        reg += advance ? 1 : 0;
    }
    return result;
}

std::string times(int n, const std::string &repeated)
{
    std::string result;
    while (n-- > 0) {
        result += repeated;
    }
    return result;
}

extern "C" {

uint32_t __wrap_lpctool_set(uint32_t addr, const uint8_t *data, int32_t count, char size, uint8_t busbroker)
{
    uint8_t byte = *data;
    fpga.steps += text("set %x %x %d %c %d\n", addr, byte, count, size, busbroker);
    return fpga.touch(addr, &byte, true);
}

uint32_t __wrap_lpctool_get(uint32_t addr, int32_t count, char size, const char *pipe, uint8_t *data)
{
    fpga.steps += text("get %x %d %c %s\n", addr, count, size, pipe);
    return fpga.touch(addr, data, false);
}

void __wrap_update_busbroker_req_fields(busbroker_req_resp *req, uint32_t addr, uint16_t count, uint8_t width,
                                        uint8_t *data, uint8_t flags, int32_t req_type, uint8_t code,
                                        const uint8_t *support, uint8_t support_count)
{
    fpga.steps += text("fill type %d support %d %d\n", req_type, support != nullptr, support_count);
    req->addr = addr;
    req->count = count;
    req->width = width;
    req->flags = flags;
    req->code = code;
    req->write_data = req_type == BB_REQ_WRITE ? data : nullptr;
    req->resp_buf = req_type == BB_REQ_READ ? data : nullptr;
}

uint32_t __wrap_request_busbroker(busbroker_req_resp *req, tool_info *tool, const char *dev_id,
                                  const char *dev_name, uint32_t prio, uint32_t type, uint32_t ind)
{
    uint8_t byte = type == BB_REQ_WRITE ? *req->write_data : uint8_t{0};
    fpga.steps +=
        text("%d %s %s prio %u type %u ind %u: %x=%x n%u w%u f%x c%x\n", tool != nullptr, dev_id, dev_name,
             prio, type, ind, req->addr, byte, req->count, req->width, req->flags, req->code);
    return fpga.touch(req->addr, type == BB_REQ_WRITE ? &byte : req->resp_buf, type == BB_REQ_WRITE);
}

void __wrap_waitfor_timeout(timer_t timer, double seconds)
{
    fpga.accesses += text("T%d:%g ", timer != nullptr, seconds);
}

int __wrap_clock_nanosleep(clockid_t clock, int flags, const timespec *until, timespec *)
{
    fpga.deadlines.push_back(*until);
    if (clock != CLOCK_MONOTONIC || flags != TIMER_ABSTIME) {
        return EINVAL;
    }
    if (fpga.interruptions > 0) {
        fpga.interruptions--;
        return EINTR;
    }
    fpga.accesses += "S ";
    return 0;
}

} // extern "C"
