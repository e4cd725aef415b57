/* SPDX-License-Identifier: MIT */
// An FPGA behind a mailbox at the LPC addresses 0x80 to 0x83, in the place of lpctool, the broker and the
// clock.
#ifndef TESTS_FPGA_BOARD_H
#define TESTS_FPGA_BOARD_H

#include "support/capture.h"

struct board {
    // What a register reads, one by one; the last for ever.
    std::map<uint32_t, std::vector<uint8_t>> values = {};
    std::map<int, uint32_t> failures = {}; // status of the n-th register access
    int failing_step = 2;                  // the step of it that fails
    int interruptions = 0;                 // to come in pauses
    std::string steps = "";                // each run of lpctool and each request
    std::string accesses = "";             // "W105=1a ", "R105 ", "!" behind a failed one; "S " a pause
    std::vector<useconds_t> pauses = {};   // as asked for
    int count = 0, step = 0;
    uint32_t reg = 0;

    uint32_t touch(uint32_t addr, uint8_t *byte, bool write);
};
inline board fpga;
inline constexpr mbox_info test_mbox{0x80, 0x81, 0x82, 0x83};

#endif
