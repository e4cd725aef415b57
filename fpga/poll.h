/* SPDX-License-Identifier: MIT */
// What the two FPGA protocols share besides the mailbox: the pace of their polls and the size of a command.
#ifndef BOARDDIAG_FPGA_POLL_H
#define BOARDDIAG_FPGA_POLL_H

#include <cstdint>

namespace boarddiag {

/// The `code` of every register read that the protocols make through the bus broker.
inline constexpr uint32_t mbox_read_code = 0x10;

/// Tells whether a command of `cmd_len` bytes exists; if not, reports it in the name of `function`.
bool cmd_len_fits(const char *function, uint8_t cmd_len);

/// Pauses for the full 100 ms between two polls; a signal neither shortens nor lengthens it.
void pause_between_polls();

} // namespace boarddiag

#endif
