/* SPDX-License-Identifier: MIT */
#include "core/command.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <unistd.h>

namespace {

using boarddiag::command_line;
using boarddiag::plain_command;

void append(command_line *command, const char *format, va_list args)
{
    const size_t room = sizeof command->text - command->length;
    const int wanted = vsnprintf(command->text + command->length, room, format, args);

    if (wanted > 0) {
        command->length += std::min(static_cast<size_t>(wanted), room - 1);
    }
}

// Nothing in these means anything to a shell, wherever in a word it stands but for '=' in the first word.
bool is_plain(std::string_view word)
{
    constexpr std::string_view plain_characters =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
        "_-./:,=+@%";
    return !word.empty() && word.find_first_not_of(plain_characters) == std::string_view::npos;
}

// The descriptor that a word redirects, as in "2>/dev/null" or ">", with the path if it is attached; 0 if
// none.
size_t redirection(std::string_view word, std::string_view *path)
{
    const bool is_numbered = !word.empty() && (word.front() == '1' || word.front() == '2');
    const size_t fd = is_numbered && word.front() == '2' ? STDERR_FILENO : STDOUT_FILENO;

    word.remove_prefix(is_numbered ? 1 : 0);
    if (!word.starts_with('>')) {
        return 0;
    }
    word.remove_prefix(1);
    *path = word;
    return fd;
}

// Cuts the next word off `rest`, terminating it in place.
char *next_word(char **rest)
{
    char *word = *rest + strspn(*rest, " ");
    char *end = word + strcspn(word, " ");

    *rest = end;
    if (*end != '\0') {
        *end = '\0';
        *rest = end + 1;
    }
    return *word == '\0' ? nullptr : word;
}

} // namespace

void boarddiag::command_format(command_line *command, const char *format, ...)
{
    va_list args;

    command->length = 0;
    command->text[0] = '\0';
    va_start(args, format);
    append(command, format, args);
    va_end(args);
}

void boarddiag::command_append(command_line *command, const char *format, ...)
{
    va_list args;

    va_start(args, format);
    append(command, format, args);
    va_end(args);
}

bool boarddiag::split_plain_command(const char *command, plain_command *plain)
{
    const size_t length = strlen(command);
    if (length >= plain->text.size()) {
        return false;
    }
    memcpy(plain->text.data(), command, length + 1);
    plain->redirect.fill(nullptr);

    char *rest = plain->text.data();
    size_t words = 0;
    for (char *word = next_word(&rest); word != nullptr; word = next_word(&rest)) {
        std::string_view path;
        const size_t fd = redirection(word, &path);
        if (fd != 0) {
            const char *target = path.empty() ? next_word(&rest) : path.data();
            if (target == nullptr || !is_plain(target) || plain->redirect[fd] != nullptr) {
                return false;
            }
            plain->redirect[fd] = target;
        } else if (is_plain(word) && words < plain_command::max_words) {
            plain->argv[words++] = word;
        } else {
            return false;
        }
    }
    plain->argv[words] = nullptr;
    return words != 0 && strchr(plain->argv[0], '=') == nullptr;
}
