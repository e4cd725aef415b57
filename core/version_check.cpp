/* SPDX-License-Identifier: MIT */
// Checks of short texts and of version strings of the form x.y.z.rest, of which z is the image type.
#include <cstdlib>
#include <cstring>

#include <boarddiag/core.h>

#include "core/printable.h"
#include "core/reason.h"

namespace {

constexpr int notice_level = 1;
constexpr int version_dots = 3;

struct components {
    char *texts[version_dots + 1]; // x, y, z and the rest; null where missing
};

bool is_between(char c, char first, char last)
{
    return c >= first && c <= last;
}

bool is_digit(char c, bool hexadecimal)
{
    return is_between(c, '0', '9') || (hexadecimal && (is_between(c, 'a', 'f') || is_between(c, 'A', 'F')));
}

bool is_valid_char(char c, bool punctuation)
{
    return is_digit(c, false) || is_between(c, 'A', 'Z') || is_between(c, 'a', 'z') ||
           (punctuation && (c == '-' || c == '.' || c == '_' || c == ' '));
}

// Both character checks: all of the first n must be of the class that `allows` and `flag` make.
int check_chars(const char *text, int n, bool (*allows)(char c, bool flag), bool flag, const char *notice)
{
    char shown[8]; // a character, escaped if it does not print

    for (int i = 0; i < n; i++) {
        if (!allows(text[i], flag)) {
            boarddiag::set_reason(notice, boarddiag::printable(shown, {text + i, 1}));
            diag_print(notice_level, notice, shown);
            return 0;
        }
    }
    return 1;
}

int reject(const char *notice)
{
    boarddiag::set_reason("%s", notice);
    diag_print(notice_level, "%s", notice);
    return 0;
}

int count(const char *text, char c)
{
    int found = 0;

    for (; *text != '\0'; text++) {
        found += *text == c ? 1 : 0;
    }
    return found;
}

// Every dot becomes a terminator; empty components are skipped, so there are at most one more than dots.
components split_at_dots(char *version)
{
    components parts{};
    size_t found = 0;
    bool inside = false;

    for (; *version != '\0'; version++) {
        if (*version == '.') {
            *version = '\0';
            inside = false;
        } else if (!inside) {
            parts.texts[found++] = version;
            inside = true;
        }
    }
    return parts;
}

bool is_hex_component(const char *text)
{
    return text != nullptr && check_valid_number(text, static_cast<int>(strlen(text)), true) != 0;
}

} // namespace

int check_valid_char(const char *text, int n, bool punctuation)
{
    return check_chars(text, n, is_valid_char, punctuation, "Invalid char: %s\n");
}

int check_valid_number(const char *text, int n, bool hexadecimal)
{
    return check_chars(text, n, is_digit, hexadecimal, "Invalid number: %s\n");
}

int check_valid_ver_format_and_image_type(char *version, int image_type)
{
    if (version == nullptr) {
        return reject("Version string is NULL\n");
    }
    if (count(version, '.') != version_dots) {
        return reject("Failed dots check (.'s)\n");
    }
    if (count(version, '-') > 1) {
        return reject("Failed dash check '-'\n");
    }
    const auto [x, y, z, rest] = split_at_dots(version).texts;
    if (!is_hex_component(x)) {
        return reject("Failed x.\n");
    }
    if (!is_hex_component(y) || !is_hex_component(z)) {
        return reject("Failed y.z.\n");
    }
    if (strtol(z, nullptr, 10) != image_type) {
        return reject("Invalid Image type\n");
    }
    return 1;
}
