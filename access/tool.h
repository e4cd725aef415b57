/* SPDX-License-Identifier: MIT */
// The invocation frame that all device wrappers share. A wrapper is its checks, its command, a constant
// descriptor of what it differs in, and a call of one of the frames below.
#ifndef BOARDDIAG_ACCESS_TOOL_H
#define BOARDDIAG_ACCESS_TOOL_H

#include <cstdint>

#include "core/command.h"
#include "core/fifo_run.h"

namespace boarddiag {

/// The name of each tool, as the shell's search path knows it.
inline constexpr const char *i2c_tool = "i2ctool";

/// The line that tells how many bytes a tool's answer had, and its level.
inline constexpr const char *bytes_read_traced = "%d bytes read from the fifo\n";
inline constexpr int bytes_read_level = 2;

/// What a read leaves in the first byte of its data in a dry run.
inline constexpr uint8_t dry_run_byte = 0x1a;

/// Whether device wrappers are to run their tools for show only.
bool is_dry_run();

/// A FIFO read whose command cannot fail to build: the dry run, the FIFO, the tool, the answer.
uint32_t fifo_read(fifo_call *call, const command_line *command);

/// The dry run of a read: true, with its byte stored, when there is nothing to run.
bool dry_read(uint8_t *data);

} // namespace boarddiag

#endif
