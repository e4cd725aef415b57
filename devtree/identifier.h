/* SPDX-License-Identifier: MIT */
// The grammar of device identifiers: zero or more mux hops, each a mux segment, "-", a channel number and
// ".", then the device's own name. "M1-3.M2-1.TEMP" is TEMP behind channel 1 of M2 behind channel 3 of M1.
#ifndef BOARDDIAG_DEVTREE_IDENTIFIER_H
#define BOARDDIAG_DEVTREE_IDENTIFIER_H

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace boarddiag {

/// Characters of the longest identifier or path name that a tree node can hold.
inline constexpr size_t max_id_length = 32;

/// The path to a node, rebuilt hop by hop with single separators. It ends with a "." that the identifier may
/// lack, so it can be one character longer.
struct path_text {
    char text[max_id_length + 2];
    size_t length;
};

/// Appends a piece; what does not fit is cut.
void append(path_text *path, std::string_view piece);

/// Takes the next segment from `rest`: leading "-" are skipped, and the "-" behind the segment is cut off.
/// @return true when the segment is a hop, that is when text follows it; false when the path ends here.
bool take_hop(std::string_view *rest, std::string_view *segment);

enum class channel_syntax { valid, missing, malformed };

/// Takes a channel number (hexadecimal, from 1) and the "." behind it from `rest`; leading "." are skipped.
/// @param token receives its text, and `sel` the channel's selection value, one less than its number.
channel_syntax take_channel(std::string_view *rest, std::string_view *token, int32_t *sel);

} // namespace boarddiag

#endif
