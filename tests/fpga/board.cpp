/* SPDX-License-Identifier: MIT */
#include "fpga/board.h"

template <typename... Args> static std::string text(const char *format, Args... args)
{
    char buffer[160];
    return {buffer, static_cast<size_t>(snprintf(buffer, sizeof buffer, format, args...))};
}

uint32_t board::touch(uint32_t addr, uint8_t *byte, bool write)
{
    EXPECT_EQ(addr, step < 2 ? 0x80u + static_cast<uint32_t>(step) : write ? 0x83u : 0x82u) << accesses;
    if (step < 2) {
        reg = (reg << 8 | *byte) & 0xffff;
    }
    const bool fails = failures.contains(count) && step == failing_step;
    if (step < 2 && !fails) {
        step++;
        return 0;
    }
    accesses += (write ? text("W%x=%x", reg, *byte) : text("R%x", reg)) + (fails ? "! " : " ");
    step = 0;
    if (!fails && !write && !values[reg].empty()) {
        *byte = values[reg].front();
        values[reg].erase(values[reg].begin(), values[reg].begin() + (values[reg].size() > 1 ? 1 : 0));
    }
    return fails ? failures[count++] : (count++, 0);
}

extern "C" {

int __real_usleep(useconds_t microseconds);

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

uint32_t __wrap_request_busbroker(busbroker_req_resp *req, tool_info *tool, const char *dev_id,
                                  const char *dev_name, uint32_t prio, uint32_t type, uint32_t ind)
{
    const bool write = type == BB_REQ_WRITE;
    free_req_texts(req);
    req->data = strdup("released by the caller");
    uint8_t byte = write ? *req->write_data : uint8_t{0};
    fpga.steps += text("%d %s %s prio %u type %u ind %u: %x=%x n%u w%u f%x c%x s%u\n", tool != nullptr,
                       dev_id, dev_name, prio, type, ind, req->addr, byte, req->count, req->width, req->flags,
                       req->code, req->support_count);
    return fpga.touch(req->addr, write ? &byte : req->resp_buf, write);
}

void __wrap_waitfor_timeout(timer_t timer, double seconds)
{
    fpga.accesses += text("T%d:%g ", timer != nullptr, seconds);
}

// An interrupted pause has lasted for 30 ms.
int __wrap_usleep(useconds_t microseconds)
{
    fpga.pauses.push_back(microseconds);
    if (fpga.interruptions-- > 0) {
        __real_usleep(30'000);
        errno = EINTR;
        return -1;
    }
    fpga.accesses += "S ";
    return 0;
}

} // extern "C"
