/* SPDX-License-Identifier: MIT */
#include "core/printable.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include <boarddiag/core.h>

namespace {

constexpr size_t escape_size = 5; // "\x1b" and its terminator

void escape(char c, char (&escaped)[escape_size])
{
    switch (c) {
    case '\n':
        memcpy(escaped, "\\n", 3);
        break;
    case '\r':
        memcpy(escaped, "\\r", 3);
        break;
    case '\t':
        memcpy(escaped, "\\t", 3);
        break;
    default:
        snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    }
}

bool is_continuation(char c)
{
    return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

// Bytes of the UTF-8 character that `text` begins with; 0 for none.
size_t utf8_size(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const size_t size = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : lead >= 0xc2 ? 2 : 0;

    const bool is_whole = size != 0 && lead < 0xf5 && text.size() >= size &&
                          std::ranges::all_of(std::string_view(text.data() + 1, size - 1), is_continuation);
    return is_whole ? size : 0;
}

// Of the characters of one byte; behind the lead 0xc2 the same stand for themselves.
bool is_control(unsigned char c)
{
    return c < ' ' || (c >= 0x7f && c < 0xa0);
}

// Bytes at the start of `text` that show as they are; 0 when the first is to be escaped.
size_t shown_as_is(std::string_view text, std::string_view kept)
{
    const size_t size = utf8_size(text);

    if (size != 0) {
        return text.front() == '\xc2' && is_control(static_cast<unsigned char>(text[1])) ? 0 : size;
    }
    const bool is_kept = kept.find(text.front()) != std::string_view::npos;
    return is_kept || !is_control(static_cast<unsigned char>(text.front())) ? 1 : 0;
}

} // namespace

const char *boarddiag::printable(std::span<char> room, std::string_view text, std::string_view kept)
{
    size_t length = 0;

    while (!text.empty()) {
        const size_t as_is = shown_as_is(text, kept);
        char escaped[escape_size];
        if (as_is == 0) {
            escape(text.front(), escaped);
        }
        const std::string_view piece = as_is != 0 ? std::string_view(text.data(), as_is) : escaped;
        if (length + piece.size() >= room.size()) {
            break;
        }
        memcpy(room.data() + length, piece.data(), piece.size());
        length += piece.size();
        text.remove_prefix(std::max<size_t>(as_is, 1));
    }
    room[length] = '\0';
    return room.data();
}
