/* SPDX-License-Identifier: MIT */
// What the simulated board's programs tell on standard error, and the exit statuses that they share.
#ifndef BOARDSIM_MESSAGE_H
#define BOARDSIM_MESSAGE_H

#include <string_view>

namespace boardsim {

inline constexpr int status_ok = 0;
inline constexpr int status_device = 1; // the board, a device or the reader of a FIFO failed
inline constexpr int status_usage = 2;  // the command line or a settings file is wrong; nothing was accessed

/// Whether a character acts on a terminal in place of showing there.
bool is_control(char c);

/// Sets the name that stands before each message, which is the one whose --help tells more.
void set_program(std::string_view name);

/// Writes "<program>: <message>" and a line end to standard error.
[[gnu::format(printf, 1, 2)]] void complain(const char *format, ...);

/// The same of a wrong command line: says behind the message where the right one is told.
[[gnu::format(printf, 1, 2)]] void complain_usage(const char *format, ...);

} // namespace boardsim

#endif
