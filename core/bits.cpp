/* SPDX-License-Identifier: MIT */
// Bit fields of device registers, fixed-point values and byte order.
#include <cstring>

#include <boarddiag/core.h>

#include "core/item.h"
#include "core/reason.h"
#include "core/report.h"

namespace {

constexpr uint32_t last_bit = 31;

// The bits below `bit`; a position above the word has the whole word below it.
constexpr uint32_t bits_below(uint32_t bit)
{
    return bit > last_bit ? UINT32_MAX : (1U << bit) - 1;
}

// The bits up to and with `bit`, without the shift by 32 that bit 31 would ask for.
constexpr uint32_t bits_through(uint32_t bit)
{
    return bit > last_bit ? UINT32_MAX : (1U << bit) | bits_below(bit);
}

} // namespace

uint32_t get_field_val(uint32_t start, uint32_t end, uint32_t value)
{
    return start > last_bit ? 0 : (value & bits_through(end)) >> start;
}

uint32_t get_byte_field_val(uint32_t start, uint32_t end, uint32_t value)
{
    return get_field_val(start, end, value & 0xff);
}

uint32_t prepare_mask(uint32_t end, uint32_t start)
{
    if (start > end) {
        REPORT_ERROR(__func__, "Start bit is greater than end bit\n");
        return 0;
    }
    return bits_through(end) & ~bits_below(start);
}

int get_twos_complement_val(uint32_t raw, int width, int frac, float *result)
{
    // Unsigned, so that a negative number is too large.
    if (width < 2 || width > 31 || static_cast<uint32_t>(frac) >= static_cast<uint32_t>(width)) {
        boarddiag::set_reason("no fixed-point field of %d bits, %d of them behind the point", width, frac);
        return -1;
    }
    const uint32_t sign = 1U << (width - 1);
    auto value = static_cast<int32_t>(raw & (sign - 1));
    if ((raw & sign) != 0) {
        value -= static_cast<int32_t>(sign);
    }
    // Dividing by 1 changes nothing, so a field without fractional bits needs no case of its own.
    *result = static_cast<float>(value) / static_cast<float>(1U << frac);
    return 0;
}

uint8_t reverse_bits(uint8_t byte)
{
    const uint32_t bits = byte;
    uint32_t reversed = 0;

    for (uint32_t bit = 0; bit < 8; bit++) {
        reversed |= (bits >> bit & 1) << (7 - bit);
    }
    return static_cast<uint8_t>(reversed);
}

uint32_t byte_swap(uint32_t value, uint8_t bits)
{
    uint32_t swapped = 0;

    if (bits == 32) {
        swapped = __builtin_bswap32(value);
    } else if (bits == 16) {
        swapped = __builtin_bswap16(static_cast<uint16_t>(value));
    } else {
        REPORT_ERROR(__func__, "Unspported Byte Swapping bits:%d\n", bits);
        return value;
    }
    diag_print(1, "Byte Swapping 0x%x to 0x%x\n", value, swapped);
    return swapped;
}

uint64_t byte_swap_p(const void *src, void *dst, int width)
{
    const size_t size = boarddiag::item_size(width);
    uint64_t value = 0;

    memcpy(&value, src, size);
    value = __builtin_bswap64(value) >> (8 * (sizeof value - size));
    memcpy(dst, &value, size);
    return value;
}
