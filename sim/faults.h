/* SPDX-License-Identifier: MIT */
// Faults that a test switches on in the board's "faults" file.
#ifndef BOARDSIM_FAULTS_H
#define BOARDSIM_FAULTS_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "board.h"

namespace boardsim {

/// What goes wrong in one run; a default record is a good run.
struct fault {
    std::optional<int> exit_status; // ends so, before any access
    std::optional<int> signal;      // dies so, before any access
    bool silent = false;            // makes the access and tells no result
    int extra_bytes = 0;            // of a result: bytes too many, or too few when negative
    unsigned late_ms = 0;           // waits before anything else
    bool garbage = false;           // ipmitool: prints text in place of the response
};

/// Reads the faults file for a run of `tool` that follows `earlier_runs` others; a later line overrides
/// an earlier one of the same kind. Nothing, told on standard error, when any line is malformed.
std::optional<fault> parse_faults(std::string_view text, std::string_view tool, unsigned earlier_runs);

} // namespace boardsim

#endif
