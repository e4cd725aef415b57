/* SPDX-License-Identifier: MIT */
// The parsers of the IPMI wrappers and the packet error code, on text and bytes alone.
#include "access/ipmi_text.h"
#include "support/capture.h"

using bytes = std::vector<uint8_t>;

TEST(IpmiText, PairsAnywhereInALine)
{
    const std::tuple<std::string, size_t, bytes> cases[] = {
        {" 1a 2b\n", 9, {0x1a, 0x2b}},
        {"1a2b3", 9, {0x1a, 0x2b, 0x03}},      // a half pair is its one digit
        {"  1 2\n", 9, {0x01, 0x02}},          // "1 " and "2"
        {" 0x1f zz\n", 9, {0x00, 0x1f, 0x00}}, // what is no digit ends a number
        {" 1a 2b 3c\n", 2, {0x1a, 0x2b}},
        {" 1a\0 2b"s, 9, {0x1a}},
        {" 1\0a"s, 9, {0x01}},
        {"  \n", 9, {}},
        {"", 9, {}},
    };
    for (const auto &[line, room, stored] : cases) {
        bytes dest(room);
        dest.resize(boarddiag::store_pairs(line, dest));
        EXPECT_EQ(dest, stored) << line;
    }
}

using taker = bool (*)(boarddiag::placed_pairs *, std::string_view);

bytes pairs_of(taker take, const std::string &text, size_t room)
{
    bytes dest(room, 0xee);
    boarddiag::placed_pairs pairs = {};
    pairs.dest = dest;
    take(&pairs, text);
    boarddiag::end_pairs(&pairs);
    return dest;
}

TEST(IpmiText, PairsAtTheirPlaces)
{
    const bytes counted{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0x10, 0x11, 0};
    const std::tuple<std::string, bytes, bytes> cases[] = {
        {" 1a 2b\n 3c\n", {0x1a, 0x2b, 0x3c, 0}, {0x1a, 0x2b, 0x03, 0}},
        {" 1a    2b  \n 3c", {0x1a, 0, 0x2b, 0x3c}, {0x1a, 0, 0x2b, 0}}, // blanks inside a line are a 0
        {" 1a 2", {0x1a, 0x02, 0}, {0x1a, 0x02, 0}},
        {" 1a\0 2b\n 3c"s, {0x1a, 0x3c, 0}, {0x1a, 0x02, 0}}, // a NUL hides the rest of a line
        {" 1a\nText 2b\n 3c\n", {0x1a, 0, 0}, {0x1a, 0, 0}},
        {" 1a\n\n 2b\n", {0x1a, 0x2b}, {0x1a, 0}},
        {" -1 +a zz x1\n", {0xff, 0x0a, 0, 0}, {0xff, 0x0a, 0, 0}}, // as strtol() reads them
        {" 1a 2b 3c", {0x1a}, {0x1a}},
        {"", {0, 0}, {0, 0}},
        {" 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f\n 10 11\n", counted, counted},
    };
    for (const auto &[text, lines, block] : cases) {
        EXPECT_EQ(pairs_of(boarddiag::take_lines, text, lines.size()), lines) << text;
        EXPECT_EQ(pairs_of(boarddiag::take_block, text, block.size()), block) << text;
    }
}

TEST(Pec, KnownValues)
{
    uint8_t crc = 0;
    for (const char c : "123456789"s) {
        crc = crc8(crc, static_cast<uint8_t>(c));
    }
    EXPECT_EQ(crc, 0xf4);
    uint8_t buf[] = {0x10, 0x01, 0xee, 0xee};
    EXPECT_EQ(add_pec(0xa0, buf, 2), 0u);
    EXPECT_TRUE(buf[2] == 0x18 && buf[3] == 0xee);
    add_pec(0xa0, buf, 0);
    EXPECT_EQ(buf[0], crc8(0, 0xa0));
}
