/* SPDX-License-Identifier: MIT */
// Numbers out of text, and texts cleaned in place; nothing here allocates or prints.
#include <cstring>

#include <boarddiag/core.h>

#include "core/item.h"
#include "core/reason.h"

namespace {

// The ranges stand spelt out because isxdigit follows the program's locale.
int digit_value(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

// A narrower value is the low bits of this one: what is shifted out on the way never comes back.
uint64_t scan_hex(const char *text)
{
    uint64_t value = 0;

    for (; *text != '\0'; text++) {
        const int digit = digit_value(*text);
        if (digit >= 0) {
            value = value << 4 | static_cast<uint64_t>(digit);
        } else if (*text != 'x' && *text != ' ') {
            break;
        }
    }
    return value;
}

// The letters and the white space of the C locale, whatever the program's is.
char fold(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool is_space(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

void remove_char(char *text, char unwanted)
{
    char *kept = text;

    for (; *text != '\0'; text++) {
        if (*text != unwanted) {
            *kept++ = *text;
        }
    }
    *kept = '\0';
}

} // namespace

int hex_to_i(char c, uint32_t *status)
{
    const int value = digit_value(c);

    *status = value < 0 ? DIAG_ERR_BAD_HEX_DIGIT : 0;
    if (value < 0) {
        boarddiag::set_reason("'%c' is not a hexadecimal digit", c);
    }
    return value;
}

uint32_t atoh(const char *text)
{
    return static_cast<uint32_t>(scan_hex(text));
}

void atoh_p(const char *text, void *dest, int width)
{
    const uint64_t value = scan_hex(text);

    // The low bytes come first on the hosts that this runs on, and the destination may be unaligned.
    memcpy(dest, &value, boarddiag::item_size(width));
}

int strncmpi(const char *a, const char *b, int n)
{
    for (int left = n; left != 0; a++, b++) {
        // An end differs from every other character, so one comparison serves for both.
        if (fold(*a) != fold(*b)) {
            return -1;
        }
        if (*a == '\0') {
            return 0;
        }
        if (left > 0) {
            left--;
        }
    }
    return 0;
}

int is_printable(char c)
{
    return c >= ' ' && c <= '~' ? 1 : 0;
}

void trim_spaces(char *text)
{
    const char *first = text;

    while (*first == ' ') {
        first++;
    }
    const char *end = first; // behind the last character that stays
    for (const char *at = first; *at != '\0'; at++) {
        if (*at != ' ') {
            end = at + 1;
        }
    }
    const auto length = static_cast<size_t>(end - first);
    if (first != text) {
        memmove(text, first, length);
    }
    text[length] = '\0';
}

void trim_all_spaces(char *text)
{
    remove_char(text, ' ');
}

char *remove_tabs(char *text)
{
    remove_char(text, '\t');
    return text;
}

const char *skip_ws(const char **text)
{
    while (is_space(**text)) {
        (*text)++;
    }
    return *text;
}
