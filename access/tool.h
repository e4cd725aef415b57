/* SPDX-License-Identifier: MIT */
// The invocation frame that all device wrappers share. A wrapper is its checks, its command, a constant
// descriptor of what it differs in, and a call of one of the frames below.
#ifndef BOARDDIAG_ACCESS_TOOL_H
#define BOARDDIAG_ACCESS_TOOL_H

#include <cstdint>
#include <span>

#include "core/command.h"
#include "core/fifo_run.h"

namespace boarddiag {

/// The name of each tool, as the shell's search path knows it.
inline constexpr const char *i2c_tool = "i2ctool";
inline constexpr const char *ipmi_tool = "ipmitool";
inline constexpr const char *gpio_tool = "gpiotool";
inline constexpr const char *lpc_tool = "lpctool";
inline constexpr const char *pci_tool = "pcitool";
inline constexpr const char *mem_tool = "memtool";

/// The line that tells how many bytes a tool's answer had, and its level.
inline constexpr const char *bytes_read_traced = "%d bytes read from the fifo\n";
inline constexpr int bytes_read_level = 2;

/// What a read leaves in the first byte of its data in a dry run.
inline constexpr uint8_t dry_run_byte = 0x1a;

// ---- Reads through a FIFO ----

/// Whether device wrappers are to run their tools for show only.
bool is_dry_run();

/// A FIFO read whose command cannot fail to build: the dry run, the FIFO, the tool, the answer.
uint32_t fifo_read(fifo_call *call, const command_line *command);

/// The dry run of a read: true, with its byte stored, when there is nothing to run.
bool dry_read(uint8_t *data);

// ---- Plain runs, which only have a status ----

/// What a plain run does in a dry run.
enum class dry_run {
    runs,       // nothing special: the tool runs
    is_error,   // reports the command as an error instead
    is_message, // prints the command at level 0 instead
};

/// What an error message of a plain run shows.
enum class shown {
    failed_mark,
    command,
};

/// What one tool's plain run differs in from the next.
struct run_frame {
    int traced_level;
    const char *traced; // shows the command before it runs
    int failed_level;   // -1: an error report with its prefix; else a message of that level without one
    const char *failed; // shows `failed_shows`; null: a failed run is silent
    shown failed_shows;
    uint32_t failed_status; // what a failed run returns; 0: the raw wait status
    const char *done;       // told at level 1 after a good run, may show the count; null: nothing is told
    dry_run dry;
};

/// Runs a finished command for the public `function`; `count` is what the success message may show.
uint32_t plain_run(const run_frame *frame, const char *function, const command_line *command,
                   int32_t count = 0);

// ---- Lists of values ----

/// How the values of a list are written: the first one, and each later one with what separates it.
struct value_format {
    const char *first;
    const char *later;
};

/// "0x01,0xab", the usual value list.
inline constexpr value_format comma_list = {"0x%02x", ",0x%02x"};

/// The first `count` bytes of `data`; none for a `count` of 0 or less.
std::span<const uint8_t> values_of(const uint8_t *data, int32_t count);

/// Appends the values, cut to the room left, possibly inside a value.
void append_values(command_line *command, const value_format *format, std::span<const uint8_t> values);

} // namespace boarddiag

#endif
