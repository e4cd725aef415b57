/* SPDX-License-Identifier: MIT */
// Reading the texts of the IPMI wrappers: what ipmitool prints, and the bus texts that callers give. No text
// is trusted; none of these needs a process.
#ifndef BOARDDIAG_ACCESS_IPMI_TEXT_H
#define BOARDDIAG_ACCESS_IPMI_TEXT_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace boarddiag {

// ---- Bus texts ----

/// N of "X-N" by the first '-': whatever stands behind it, as a decimal number. False without a '-'.
bool bus_number_behind_dash(const char *bus, int *number);

/// Most characters of a bus text that is taken apart at runs of '-'.
inline constexpr size_t max_bus_text = 29;

/// The second of the pieces of `bus` between runs of '-', as a decimal number. False when there is none;
/// `bus` has at most max_bus_text characters.
bool bus_number_of_second_piece(const char *bus, int *number);

// ---- Pairs of hex digits, wherever they stand ----

/// Stores the pairs of one line, which blanks may separate, until `dest` is full. A last single digit is a
/// pair of its own. The number of bytes stored.
size_t store_pairs(std::string_view line, std::span<uint8_t> dest);

// ---- Pairs at fixed places ----

/// Pairs being taken from text that comes in pieces cut anywhere: each at its place behind a blank. A pair is
/// read as strtol() reads its two characters, so what is no number is 0.
struct placed_pairs {
    std::span<uint8_t> dest;
    size_t stored;
    size_t column; // of the next character in its line
    size_t blank;  // pairs of blanks that wait for a later pair in their line
    char first;    // of a pair whose second character has not come
    bool is_cut;   // a NUL hides the rest of this line
    bool is_ended; // a further line does not begin with a blank: what follows is no response
};

/// Takes the pairs of lines of any length, each beginning with a blank; blanks at the end of a line are none.
/// False when nothing more is wanted.
bool take_lines(placed_pairs *pairs, std::string_view text);

/// Takes the pairs of a text that has 16 of them to a line, by their places in the whole text alone.
/// False when nothing more is wanted.
bool take_block(placed_pairs *pairs, std::string_view text);

/// To be called when no text follows: a half pair is its one digit, and every byte that did not come is 0.
void end_pairs(placed_pairs *pairs);

} // namespace boarddiag

#endif
