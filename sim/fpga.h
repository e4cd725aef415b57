/* SPDX-License-Identifier: MIT */
// The FPGA behind the LPC mailbox. The caller holds the board's lock.
#ifndef BOARDSIM_FPGA_H
#define BOARDSIM_FPGA_H

#include <cstdint>

#include "board.h"

namespace boardsim {

/// One access of an internal register through the mailbox; false (told on standard error) when the FPGA
/// is missing or does not have the register.
bool fpga_read(board &b, uint16_t reg, uint8_t &value);
bool fpga_write(board &b, uint16_t reg, uint8_t value);

} // namespace boardsim

#endif
