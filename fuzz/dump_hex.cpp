/* SPDX-License-Identifier: MIT */
// Hex dumps: the arguments, packed, then the bytes to dump.
#include "support.h"

struct [[gnu::packed]] dump_arguments {
    int32_t group_bits;
    uint32_t base;
    uint8_t show_addr, width, level, verb_level, log_level;
};
constexpr size_t max_length = 400; // each byte may be a message of its own

// The levels count from -1, five of them.
int level_of(uint8_t byte)
{
    return byte % 5 - 1;
}

void try_input(std::string_view rest)
{
    dump_arguments a;

    if (rest.size() < sizeof a) {
        return;
    }
    memcpy(&a, rest.data(), sizeof a);
    const std::string_view dumped = rest.substr(sizeof a, max_length);
    const std::vector<char> bytes(dumped.begin(), dumped.end());
    set_verb_level(level_of(a.verb_level));
    set_log_level(level_of(a.log_level));
    dump_hex(bytes.data(), a.group_bits, static_cast<uint32_t>(bytes.size()), a.base, a.show_addr, a.width,
             level_of(a.level));
}
