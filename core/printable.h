/* SPDX-License-Identifier: MIT */
// Texts from outside (tools, datagrams) as messages may show them: what would drive a terminal or forge a
// line of the log shows as an escape.
#ifndef BOARDDIAG_CORE_PRINTABLE_H
#define BOARDDIAG_CORE_PRINTABLE_H

#include <span>
#include <string_view>

namespace boarddiag {

/// As much of a text as one message shows.
inline constexpr size_t shown_size = 1024;

/// Writes `text` into `room`, terminated and cut to it. Control characters, those of 8-bit terminals too,
/// show as "\n",
/// "\r", "\t" or "\x" and two digits, unless they are among `kept`; all else shows as it is. Returns the
/// start of `room`.
const char *printable(std::span<char> room, std::string_view text, std::string_view kept = {});

} // namespace boarddiag

#endif
