/* SPDX-License-Identifier: MIT */
// The tools that the program acts as.
#ifndef BOARDSIM_TOOLS_H
#define BOARDSIM_TOOLS_H

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "board.h"
#include "faults.h"
#include "options.h"

namespace boardsim {

using arguments = std::span<const char *const>;

/// What a tool's run works with; the board is locked.
struct tool_run {
    board &b;
    fault failing;
};

/// One form of a tool's command line, told by its first option (which `options` lists too).
struct command_form {
    const char *verb;
    std::span<const option_spec> options;
    int (*run)(tool_run &run, const option_values &values);
};

struct tool {
    const char *name;
    std::span<const command_form> forms;
    int (*run_raw)(tool_run &run, arguments args); // in place of forms, for a tool without options
};

extern const tool gpiotool, i2ctool, ipmitool, lpctool, memtool, nvramtool, pcitool;

/// The tool of that name, or null.
const tool *find_tool(std::string_view name);

/// A whole run of a tool as a program: log, faults, options, access, result. Returns the exit status.
int run_tool(const tool &what, arguments args);

/// Writes a result into the FIFO of a read, changed as the run's fault tells; returns the exit status.
int deliver(const tool_run &run, std::string_view pipe, std::vector<uint8_t> bytes);

/// Makes room for a result of `count` bytes; false, told, when there are too many.
bool sized(std::vector<uint8_t> &bytes, uint64_t count);

/// Changes a result as a fault of its length tells.
void distort(const fault &failing, std::vector<uint8_t> &bytes);

} // namespace boardsim

#endif
