/* SPDX-License-Identifier: MIT */
// Hex dumps: the arguments, packed, then the bytes to dump.
#include "support.h"

#include <cstring>
#include <vector>

namespace {

struct dump_arguments {
    int32_t group_bits;
    uint32_t base;
    uint8_t show_addr;
    uint8_t width;
    uint8_t level; // the levels count from -1, five of them
    uint8_t verb_level;
    uint8_t log_level;
};
constexpr size_t arguments_size = 13; // without what the compiler adds
constexpr ptrdiff_t max_length = 400; // each byte may be a message of its own

int level_of(uint8_t byte)
{
    return byte % 5 - 1;
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    dump_arguments a;
    static_assert(offsetof(dump_arguments, log_level) == arguments_size - 1);

    if (size < arguments_size) {
        return 0;
    }
    memcpy(&a, data, arguments_size);
    data += arguments_size;
    const ptrdiff_t length = std::min(static_cast<ptrdiff_t>(size - arguments_size), max_length);
    const std::vector<uint8_t> bytes(data, data + length);
    set_verb_level(level_of(a.verb_level));
    set_log_level(level_of(a.log_level));
    dump_hex(bytes.data(), a.group_bits, static_cast<uint32_t>(length), a.base, a.show_addr, a.width,
             level_of(a.level));
    return 0;
}
