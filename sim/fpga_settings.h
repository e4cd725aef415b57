/* SPDX-License-Identifier: MIT */
// fpga.cfg: how long the FPGA takes, and what goes wrong in it.
#ifndef BOARDSIM_FPGA_SETTINGS_H
#define BOARDSIM_FPGA_SETTINGS_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace boardsim {

inline constexpr unsigned fpga_never = 0; // as a number of polls: the answer never comes

/// Makes accesses of a register, or of all, fail from a count on.
struct fpga_failure {
    bool reads;
    bool writes;
    std::optional<uint16_t> reg; // none: every register counts
    uint32_t nth;                // the first access is 1
    bool and_later;              // the n-th and all after it
};

inline constexpr size_t max_fpga_failures = 16;

struct fpga_protocol_settings {
    unsigned polls = 1;            // the status read that shows the result
    std::optional<uint8_t> status; // shown in place of the true result
};

struct fpga_settings {
    fpga_protocol_settings indirect;
    fpga_protocol_settings operation;
    unsigned mode_polls = 1; // the read of the mode register that shows the new mode
    std::vector<fpga_failure> failures;
};

/// Reads the text of the settings file; nothing, told on standard error, when a line is malformed.
std::optional<fpga_settings> parse_fpga_settings(std::string_view text);

} // namespace boardsim

#endif
