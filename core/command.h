/* SPDX-License-Identifier: MIT */
// Command lines: building them, and telling which ones mean the same without a shell.
#ifndef BOARDDIAG_CORE_COMMAND_H
#define BOARDDIAG_CORE_COMMAND_H

#include <array>
#include <cstddef>

#include <boarddiag/decls.h>

namespace boarddiag {

/// Bytes of a command line with its terminator; text that does not fit is cut.
inline constexpr size_t command_size = 2048;

/// A command line being built on the caller's stack.
struct command_line {
    char text[command_size];
    size_t length;
};

/// Makes `command` the formatted text, cut at command_size - 1 characters.
void command_format(command_line *command, const char *format, ...) BOARDDIAG_PRINTF(2, 3);
/// Appends formatted text, cut to the room left.
void command_append(command_line *command, const char *format, ...) BOARDDIAG_PRINTF(2, 3);

/// A command line taken apart into what can be started without a shell.
struct plain_command {
    static constexpr size_t max_words = 512;
    std::array<char, command_size> text;    // the words, each terminated
    std::array<char *, max_words + 1> argv; // points into text, null-terminated
    std::array<const char *, 3> redirect;   // per descriptor: file to write to, or null
};

/// Whether `command` means the same without a shell: a name and arguments of plain characters, separated by
/// blanks, with at most redirections of the outputs to plain paths. When it does, fills `plain`.
bool split_plain_command(const char *command, plain_command *plain);

} // namespace boarddiag

#endif
