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

/// Writes `text` into `room`, terminated and cut to it: printable ASCII as it is, the characters of `kept`
/// too, any other as "\n", "\r", "\t" or "\x" and two digits. Returns the start of `room`.
const char *printable(std::span<char> room, std::string_view text, std::string_view kept = {});

} // namespace boarddiag

#endif
