/* SPDX-License-Identifier: MIT */
// An FPGA behind a mailbox at the LPC addresses 0x80 to 0x83, in the place of lpctool, the broker and the
// clock.
#ifndef TESTS_FPGA_BOARD_H
#define TESTS_FPGA_BOARD_H

#include <boarddiag.h>
#include <map>
#include <string>
#include <vector>

struct board {
    std::string steps; // each run of lpctool and each request
    std::string
        accesses; // each register access: "W105=1a " or "R105 ", "!" behind a failed one; "S " a pause
    std::vector<timespec> deadlines;                 // of the pauses
    int interruptions = 0;                           // to come in pauses
    std::map<int, uint32_t> failures;                // status of the n-th register access
    int failing_step = 2;                            // the step of it that fails
    std::map<uint32_t, std::vector<uint8_t>> values; // what a register reads, one by one; the last for ever
    int count = 0, step = 0;
    uint32_t reg = 0;

    uint32_t touch(uint32_t addr, uint8_t *byte, bool write);
};
extern board fpga;

inline constexpr mbox_info test_mbox{0x80, 0x81, 0x82, 0x83};

/// "W<reg>=<byte>" for each byte, at consecutive registers when `advance` is set.
std::string written(uint32_t reg, const std::vector<uint8_t> &bytes, bool advance = true);
std::string times(int n, const std::string &text);

#endif
