/* SPDX-License-Identifier: MIT */
#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include <boarddiag.h>

namespace {

TEST(Text, HexDigits)
{
    for (int c = -128; c < 128; c++) {
        const char *const digits = "0123456789abcdefABCDEF";
        const char *const found = c == 0 ? nullptr : strchr(digits, c);
        const int at = found == nullptr ? -1 : static_cast<int>(found - digits);
        uint32_t status = 99;
        EXPECT_EQ(hex_to_i(static_cast<char>(c), &status), at > 15 ? at - 6 : at) << c;
        EXPECT_EQ(status, at < 0 ? 0x86018021u : 0u) << c;
        EXPECT_EQ(is_printable(static_cast<char>(c)), c >= 0x20 && c <= 0x7e ? 1 : 0) << c;
    }
}

TEST(Text, HexNumbers)
{
    struct {
        const char *text;
        uint64_t value;
    } const cases[] = {{"0x1F", 31},
                       {"x1f", 31},
                       {"1 f", 31},
                       {"1x x2", 18},
                       {"0X1F", 0},
                       {"12,34", 18},
                       {"12\t3", 18},
                       {"1\n2", 1},
                       {"-1", 0},
                       {"", 0},
                       {"0x", 0},
                       {" 2a", 42},
                       {"1\xff", 1},
                       {"aAfF", 0xaaff},
                       {"fffffffff", 0xfffffffff},
                       {"ffffffff1", 0xffffffff1},
                       {"123456789abcdef01", 0x23456789abcdef01}};
    for (const auto &c : cases) {
        EXPECT_EQ(atoh(c.text), static_cast<uint32_t>(c.value)) << c.text;
        for (const int width : {8, 16, 32, 64, 0, 24, -8}) {
            const int bits = width == 8 || width == 16 || width == 32 ? width : 64;
            uint8_t room[10]; // written at an odd address, with what lies beyond watched
            memset(room, 0xa5, sizeof room);
            atoh_p(c.text, room + 1, width);
            uint64_t stored = 0;
            memcpy(&stored, room + 1, static_cast<size_t>(bits / 8));
            EXPECT_EQ(stored, bits == 64 ? c.value : c.value & ((1ULL << bits) - 1))
                << c.text << ' ' << width;
            EXPECT_EQ(room[1 + bits / 8], 0xa5) << width;
        }
    }
}

TEST(Text, Comparison)
{
    struct {
        const char *a, *b;
        int n, result;
    } const cases[] = {{"PCA9548", "pca9548", 7, 0},
                       {"ab", "abc", 5, -1},
                       {"abc", "ab", 5, -1},
                       {"abc", "ABD", 2, 0},
                       {"abc", "abd", 3, -1},
                       {"ab", "AB", 9, 0},
                       {"ab", "abc", 2, 0},
                       {"a", "b", 0, 0},
                       {"abc", "ABC", -1, 0},
                       {"abc", "abcd", -1, -1},
                       {"", "", 3, 0},
                       {"b", "a", 1, -1},
                       {"[", "{", 1, -1},
                       {"@", "`", 1, -1},
                       {"\xc4", "\xe4", 1, -1}};
    for (const auto &c : cases) {
        EXPECT_EQ(strncmpi(c.a, c.b, c.n), c.result) << c.a << ' ' << c.b << ' ' << c.n;
    }
}

TEST(Text, Cleaning)
{
    struct {
        const char *text, *trimmed, *spaceless, *tabless;
        size_t blanks; // of white space in front
    } const cases[] = {{"  ab  ", "ab", "ab", "  ab  ", 2},
                       {" a b ", "a b", "ab", " a b ", 1},
                       {"    ", "", "", "    ", 4},
                       {"", "", "", "", 0},
                       {"ab", "ab", "ab", "ab", 0},
                       {"\tA\tB ", "\tA\tB", "\tA\tB", "AB ", 1},
                       {" \n\v\f\r\tx", "\n\v\f\r\tx", "\n\v\f\r\tx", " \n\v\f\rx", 6},
                       {"\xa0", "\xa0", "\xa0", "\xa0", 0}};
    for (const auto &c : cases) {
        std::string trimmed = c.text, spaceless = c.text, tabless = c.text;
        trim_spaces(trimmed.data());
        trim_all_spaces(spaceless.data());
        EXPECT_STREQ(trimmed.c_str(), c.trimmed);
        EXPECT_STREQ(spaceless.c_str(), c.spaceless);
        EXPECT_STREQ(remove_tabs(tabless.data()), c.tabless);
        const char *at = c.text;
        EXPECT_EQ(skip_ws(&at), c.text + c.blanks);
        EXPECT_EQ(at, c.text + c.blanks);
    }
}

} // namespace
