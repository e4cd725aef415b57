/* SPDX-License-Identifier: MIT */

#include "support/capture.h"

TEST(Bits, FieldsAndMasks)
{
    const std::string refusal = error_line("prepare_mask", "Start bit is greater than end bit\n");
    using row = std::tuple<uint32_t, uint32_t, uint32_t, uint32_t>; // start, end, field, mask
    for (const row &c : {row(0, 31, 0xdeadabcd, 0xffffffff), row(4, 7, 0xc, 0xf0), row(0, 0, 1, 1),
                         row(31, 31, 1, 0x80000000), row(5, 3, 0, 0), row(8, 40, 0xdeadab, 0xffffff00),
                         row(32, 33, 0, 0), row(UINT32_MAX, UINT32_MAX, 0, 0), row(UINT32_MAX, 0, 0, 0)}) {
        const auto start = std::get<0>(c), end = std::get<1>(c);
        EXPECT_EQ(get_field_val(start, end, 0xdeadabcd), std::get<2>(c)) << start << ' ' << end;
        EXPECT_EQ(console_of([&] { EXPECT_EQ(prepare_mask(end, start), std::get<3>(c)); }),
                  start <= end ? "" : refusal);
    }
    EXPECT_EQ(get_byte_field_val(0, 3, 0x1234), 4u);
    EXPECT_EQ(get_byte_field_val(0, 31, 0xffffff34), 0x34u);
}

TEST(Bits, FixedPoint)
{
    constexpr float none = 12345; // the result of a refused call stays as it was
    using row = std::tuple<uint32_t, int, int, float>;
    for (const auto &[raw, width, frac, value] :
         {row(0x1ff, 9, 1, -0.5F), row(0x032, 9, 1, 25), row(0x7f0, 12, 4, 127), row(0x80, 8, 0, -128),
          row(0x17f, 8, 0, 127), row(0x40000000, 31, 30, -1), row(1, 1, 0, none), row(1, 32, 0, none),
          row(1, 8, 8, none), row(1, 8, -1, none), row(1, -8, 0, none)}) {
        float result = none;
        EXPECT_EQ(get_twos_complement_val(raw, width, frac, &result), value == none ? -1 : 0);
        EXPECT_EQ(result, value) << raw << ' ' << width << ' ' << frac;
    }
}

TEST(Bits, ByteOrder)
{
    EXPECT_EQ(reverse_bits(0xd4), 0x2b);
    set_verb_level(1);
    const auto told = console_of([] {
        EXPECT_EQ(byte_swap(0x11223344, 32), 0x44332211u);
        EXPECT_EQ(byte_swap(0x11223344, 16), 0x4433u);
        EXPECT_EQ(byte_swap(0x11223344, 8), 0x11223344u);
    });
    EXPECT_EQ(told, "Byte Swapping 0x11223344 to 0x44332211\nByte Swapping 0x11223344 to 0x4433\n" +
                        error_line("byte_swap", "Unspported Byte Swapping bits:8\n"));
    using row = std::pair<int, std::string>;
    for (const auto &[width, swapped] : {row(8, "abcdefghi"), row(16, "bacdefghi"), row(32, "dcbaefghi"),
                                         row(64, "hgfedcbai"), row(24, "hgfedcbai")}) {
        char src[] = " abcdefghi", dst[] = " abcdefghi"; // unaligned from the second character on
        byte_swap_p(src + 1, dst + 1, width);
        EXPECT_EQ(dst + 1, swapped);
        EXPECT_EQ(byte_swap_p(dst + 1, dst + 1, width) & 0xff, 'a' + 0u);
        EXPECT_STREQ(dst, src);
    }
    EXPECT_EQ(byte_swap_p("\1\2\3", std::array<char, 2>().data(), 16), 0x0102u);
}
