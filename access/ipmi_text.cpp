/* SPDX-License-Identifier: MIT */
#include "access/ipmi_text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <boarddiag/core.h>

namespace {

using boarddiag::placed_pairs;

// Places of a pair and of what separates it from the next.
constexpr size_t place = 3;
constexpr size_t first_digit = 1;
constexpr size_t second_digit = 2;
// A full line of a block: 16 pairs, each behind its blank, and the line end.
constexpr size_t block_line = 16 * place + 1;

int decimal(const char *text)
{
    return static_cast<int>(strtoll(text, nullptr, 10));
}

uint8_t pair_value(char first, char second)
{
    const char pair[] = {first, second, '\0'};

    return static_cast<uint8_t>(strtol(pair, nullptr, 16));
}

bool is_full(const placed_pairs *pairs)
{
    return pairs->stored >= pairs->dest.size();
}

void store(placed_pairs *pairs, uint8_t value)
{
    if (!is_full(pairs)) {
        pairs->dest[pairs->stored++] = value;
    }
}

void store_in_line(placed_pairs *pairs, char second)
{
    if (pairs->first == ' ' && (second == ' ' || second == '\0')) {
        pairs->blank++;
        return;
    }
    for (; pairs->blank != 0; pairs->blank--) {
        store(pairs, 0);
    }
    store(pairs, pair_value(pairs->first, second));
}

void end_line(placed_pairs *pairs)
{
    if (pairs->column % place == second_digit) {
        store_in_line(pairs, '\0');
    }
    pairs->column = 0;
    pairs->blank = 0;
    pairs->is_cut = false;
}

void take_in_line(placed_pairs *pairs, char c)
{
    if (pairs->column == 0 && c != ' ') {
        pairs->is_ended = true;
    } else if (pairs->column % place == first_digit) {
        pairs->first = c;
    } else if (pairs->column % place == second_digit) {
        store_in_line(pairs, c);
    }
    pairs->column++;
}

} // namespace

bool boarddiag::bus_number_behind_dash(const char *bus, int *number)
{
    const char *dash = strchr(bus, '-');

    if (dash == nullptr) {
        return false;
    }
    *number = decimal(dash + 1);
    return true;
}

bool boarddiag::bus_number_of_second_piece(const char *bus, int *number)
{
    char copy[max_bus_text + 1] = {};
    char *rest = nullptr;

    memcpy(copy, bus, strnlen(bus, max_bus_text));
    if (strtok_r(copy, "-", &rest) == nullptr) {
        return false;
    }
    const char *piece = strtok_r(nullptr, "-", &rest);
    if (piece == nullptr) {
        return false;
    }
    *number = decimal(piece);
    return true;
}

size_t boarddiag::store_pairs(std::string_view line, std::span<uint8_t> dest)
{
    const size_t length = std::min(line.find_first_of(std::string_view("\n\0", 2)), line.size());
    const std::string_view text(line.data(), length);
    size_t stored = 0;
    size_t next = text.find_first_not_of(' ');

    while (next < text.size() && stored < dest.size()) {
        char pair[3] = {};
        memcpy(pair, text.data() + next, std::min<size_t>(2, length - next));
        dest[stored++] = static_cast<uint8_t>(atoh(pair));
        next = text.find_first_not_of(' ', std::min(next + 2, text.size()));
    }
    return stored;
}

bool boarddiag::take_lines(placed_pairs *pairs, std::string_view text)
{
    for (const char c : text) {
        if (pairs->is_ended || is_full(pairs)) {
            return false;
        }
        if (c == '\n') {
            end_line(pairs);
        } else if (c == '\0' || pairs->is_cut) {
            pairs->is_cut = true;
        } else {
            take_in_line(pairs, c);
        }
    }
    return !is_full(pairs) && !pairs->is_ended;
}

bool boarddiag::take_block(placed_pairs *pairs, std::string_view text)
{
    for (const char c : text) {
        if (pairs->column % place == first_digit) {
            pairs->first = c;
        } else if (pairs->column % place == second_digit) {
            store(pairs, pair_value(pairs->first, c));
        }
        pairs->column = (pairs->column + 1) % block_line;
    }
    return !is_full(pairs);
}

void boarddiag::end_pairs(placed_pairs *pairs)
{
    if (pairs->column % place == second_digit) {
        store_in_line(pairs, '\0');
    }
    std::ranges::fill(pairs->dest.subspan(pairs->stored), uint8_t{0});
    pairs->stored = pairs->dest.size();
}
