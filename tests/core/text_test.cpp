/* SPDX-License-Identifier: MIT */
#include "support/capture.h"

TEST(Text, CharacterClasses)
{
    for (int c = -128; c < 128; c++) {
        const size_t at = std::string("0123456789abcdefABCDEF").find(static_cast<char>(c));
        uint32_t status = 99;
        EXPECT_EQ(hex_to_i(static_cast<char>(c), &status),
                  static_cast<int>(at > 15 && at < 22 ? at - 6 : at));
        EXPECT_EQ(status, at > 21 ? 0x86018021u : 0u) << c;
        EXPECT_EQ(is_printable(static_cast<char>(c)), c >= 0x20 && c <= 0x7e ? 1 : 0) << c;
    }
}

TEST(Text, HexNumbers)
{
    using row = std::pair<const char *, uint64_t>;
    for (const auto &[text, value] :
         {row("0x1F", 31), row("1x x2", 18), row("0X1F", 0), row("12,3", 18), row("1\t3", 1), row("-1", 0),
          row("", 0), row(" 2a", 42), row("1\xff", 1), row("123456789abcdef01", 0x23456789abcdef01)}) {
        EXPECT_EQ(atoh(text), static_cast<uint32_t>(value)) << text;
        for (const auto &[width, bytes] : {std::pair(8, 1u), {16, 2}, {32, 4}, {64, 8}, {24, 8}, {-8, 8}}) {
            uint8_t room[10] = {0, 9, 9, 9, 9, 9, 9, 9, 9, 9}; // written at an odd address
            atoh_p(text, room + 1, width);
            EXPECT_EQ(memcmp(room + 1, &value, bytes), 0) << text << ' ' << width;
            EXPECT_EQ(room[1 + bytes], 9) << width;
        }
    }
}

TEST(Text, Comparison)
{
    using row = std::tuple<const char *, const char *, int, int>;
    for (const auto &[a, b, n, result] :
         {row("PCA", "pca", 3, 0), row("ab", "abc", 5, -1), row("abc", "ab", 5, -1), row("abc", "ABD", 2, 0),
          row("abc", "abd", 3, -1), row("ab", "AB", 9, 0), row("a", "b", 0, 0), row("abc", "ABC", -1, 0),
          row("b", "a", -1, -1), row("[", "{", 1, -1), row("\xc4", "\xe4", 1, -1)}) {
        EXPECT_EQ(strncmpi(a, b, n), result) << a << ' ' << b << ' ' << n;
    }
}

TEST(Text, Cleaning)
{
    // A text, the same trimmed, without spaces and without tabs, and how much white space it starts with.
    using row = std::tuple<std::string, std::string, std::string, std::string, int>;
    for (auto [text, trimmed, spaceless, tabless, blanks] :
         {row("  a b  ", "a b", "ab", "  a b  ", 2), row("    ", "", "", "    ", 4), row("", "", "", "", 0),
          row(" \n\v\f\r\tx\t", "\n\v\f\r\tx\t", "\n\v\f\r\tx\t", " \n\v\f\rx", 6)}) {
        std::string copies[] = {text, text};
        const char *at = copies[0].c_str();
        EXPECT_TRUE(skip_ws(&at) == at && at == copies[0].c_str() + blanks) << text;
        trim_spaces(copies[0].data());
        trim_all_spaces(copies[1].data());
        EXPECT_EQ(copies[0].c_str(), trimmed);
        EXPECT_EQ(copies[1].c_str(), spaceless);
        EXPECT_EQ(remove_tabs(text.data()), tabless);
    }
}
