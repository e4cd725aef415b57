/* SPDX-License-Identifier: MIT */
#include "core/printable.h"

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

} // namespace

const char *boarddiag::printable(std::span<char> room, std::string_view text, std::string_view kept)
{
    size_t length = 0;

    for (const char c : text) {
        char piece[escape_size] = {c, '\0'};
        if (is_printable(c) == 0 && kept.find(c) == std::string_view::npos) {
            escape(c, piece);
        }
        const size_t size = strlen(piece);
        if (length + size >= room.size()) {
            break;
        }
        memcpy(room.data() + length, piece, size);
        length += size;
    }
    room[length] = '\0';
    return room.data();
}
