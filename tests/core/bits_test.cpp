/* SPDX-License-Identifier: MIT */
#include <cstring>
#include <gtest/gtest.h>

#include <boarddiag.h>

#include "support/capture.h"

namespace {

TEST(Bits, FieldsAndMasks)
{
    struct {
        uint32_t start, end, field_of_pattern, mask;
    } const cases[] = {{0, 31, 0xdeadabcd, 0xffffffff}, {4, 7, 0xc, 0xf0},    {0, 0, 1, 1},
                       {31, 31, 1, 0x80000000},         {5, 3, 0, 0},         {1, 31, 0x6f56d5e6, 0xfffffffe},
                       {8, 40, 0xdeadab, 0xffffff00},   {32, 33, 0, 0},       {16, 16, 1, 0x10000},
                       {UINT32_MAX, UINT32_MAX, 0, 0},  {UINT32_MAX, 0, 0, 0}};
    for (const auto &c : cases) {
        EXPECT_EQ(get_field_val(c.start, c.end, 0xdeadabcd), c.field_of_pattern) << c.start << ' ' << c.end;
        const auto told = diagtest::console_of([&] { EXPECT_EQ(prepare_mask(c.end, c.start), c.mask); });
        EXPECT_EQ(told, c.start <= c.end
                            ? ""
                            : diagtest::error_line("prepare_mask", "Start bit is greater than end bit\n"));
    }
    EXPECT_EQ(get_byte_field_val(0, 3, 0x1234), 4u);
    EXPECT_EQ(get_byte_field_val(0, 31, 0xffffff34), 0x34u);
}

TEST(Bits, FixedPoint)
{
    constexpr float none = 12345; // the result of a refused call stays as it was
    struct {
        uint32_t raw;
        int width, frac;
        float value;
    } const cases[] = {{0x1ff, 9, 1, -0.5F},
                       {0x032, 9, 1, 25},
                       {0x7f0, 12, 4, 127},
                       {0x80, 8, 0, -128},
                       {0x17f, 8, 0, 127},
                       {3, 2, 1, -0.5F},
                       {0xffffffff, 31, 30, -1 / 1073741824.0F},
                       {0x40000000, 31, 0, -1073741824.0F},
                       {1, 1, 0, none},
                       {1, 32, 0, none},
                       {1, 8, 8, none},
                       {1, 8, -1, none},
                       {1, -8, 0, none},
                       {1, 0, 0, none}};
    for (const auto &c : cases) {
        float result = none;
        EXPECT_EQ(get_twos_complement_val(c.raw, c.width, c.frac, &result), c.value == none ? -1 : 0);
        EXPECT_EQ(result, c.value) << c.raw << ' ' << c.width << ' ' << c.frac;
    }
}

TEST(Bits, ByteOrder)
{
    EXPECT_EQ(reverse_bits(0x01), 0x80);
    EXPECT_EQ(reverse_bits(0x0f), 0xf0);
    EXPECT_EQ(reverse_bits(0xd4), 0x2b);
    set_verb_level(1);
    const auto told = diagtest::console_of([] {
        EXPECT_EQ(byte_swap(0x11223344, 32), 0x44332211u);
        EXPECT_EQ(byte_swap(0x11223344, 16), 0x4433u);
        EXPECT_EQ(byte_swap(0x11223344, 8), 0x11223344u);
    });
    EXPECT_EQ(told, "Byte Swapping 0x11223344 to 0x44332211\nByte Swapping 0x11223344 to 0x4433\n" +
                        diagtest::error_line("byte_swap", "Unspported Byte Swapping bits:8\n"));
    struct {
        int width;
        const char *copied; // of nine bytes, the last of which no width reaches
        uint64_t value;
    } const cases[] = {{8, "\1bcdefghi", 1},
                       {16, "\2\1cdefghi", 0x0102},
                       {32, "\4\3\2\1efghi", 0x01020304},
                       {64, "\10\7\6\5\4\3\2\1i", 0x0102030405060708},
                       {24, "\10\7\6\5\4\3\2\1i", 0x0102030405060708}};
    for (const auto &c : cases) {
        char dst[] = " abcdefghi";
        char same[] = " \1\2\3\4\5\6\7\10";
        EXPECT_EQ(byte_swap_p(same + 1, dst + 1, c.width), c.value) << c.width;
        EXPECT_STREQ(dst + 1, c.copied);
        EXPECT_EQ(byte_swap_p(same + 1, same + 1, c.width), c.value);
        EXPECT_EQ(memcmp(same + 1, dst + 1, c.width == 24 ? 8 : static_cast<size_t>(c.width / 8)), 0);
    }
}

} // namespace
