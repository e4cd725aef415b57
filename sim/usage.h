/* SPDX-License-Identifier: MIT */
// What --help and --version tell of the program, its commands and its tools.
#ifndef BOARDSIM_USAGE_H
#define BOARDSIM_USAGE_H

#include <span>
#include <string_view>

namespace boardsim {

/// Answers "--help" or "--version" when that is the first argument of `name`, which is the program, one of
/// its commands with the program before it, or a tool. Nothing is accessed, and nothing logged.
bool is_answered(std::string_view name, std::span<const char *const> args);

/// Prints the help of what has that name, a command's without the program before it too, and behind the
/// program's own that of all the others; false when nothing has the name.
bool print_help(std::string_view name);

} // namespace boardsim

#endif
