/* SPDX-License-Identifier: MIT */
#include <gtest/gtest.h>

#include <boarddiag.h>

#include "support/capture.h"

using diagtest::console_of;

namespace {

TEST(VersionCheck, CharacterClasses)
{
    struct {
        int (*check)(const char *text, int n, bool flag);
        const char *text;
        int n;
        bool flag;
        const char *told; // "" for a valid text
    } const cases[] = {{check_valid_char, "ab_1", 4, false, "Invalid char: _\n"},
                       {check_valid_char, "ab_1", 2, false, ""},
                       {check_valid_char, "aZ09-._ ", 8, true, ""},
                       {check_valid_char, "a/", 2, true, "Invalid char: /\n"},
                       {check_valid_char, "@", 1, true, "Invalid char: @\n"},
                       {check_valid_char, "?", 0, false, ""},
                       {check_valid_char, "?", -1, false, ""},
                       {check_valid_char, "\xe4", 1, true, "Invalid char: \xe4\n"},
                       {check_valid_number, "1F", 2, true, ""},
                       {check_valid_number, "1F", 2, false, "Invalid number: F\n"},
                       {check_valid_number, "09afAF", 6, true, ""},
                       {check_valid_number, "1g", 2, true, "Invalid number: g\n"},
                       {check_valid_number, "-", 0, false, ""}};
    set_verb_level(1);
    for (const auto &c : cases) {
        const auto told =
            console_of([&] { EXPECT_EQ(c.check(c.text, c.n, c.flag), *c.told == '\0' ? 1 : 0) << c.text; });
        EXPECT_EQ(told, c.told) << c.text;
    }
}

TEST(VersionCheck, Versions)
{
    struct {
        const char *version;
        int type;
        const char *told; // "" for a valid one
        bool split;
    } const cases[] = {
        {"1.2.3.4", 3, "", true},
        {"1.0a.2.7-b", 2, "", true},
        {"1.2.1a.9", 1, "", true},
        {"1.2.3.", 3, "", true},
        {"f.F.a.?", 0, "", true},
        {"1.2.3.4", 4, "Invalid Image type\n", true},
        {"1.2.4294967299.4", 3, "Invalid Image type\n", true},
        {"1.2.3", 3, "Failed dots check (.'s)\n", false},
        {"1.2.3.4.5", 3, "Failed dots check (.'s)\n", false},
        {"1-2.3-4", 3, "Failed dots check (.'s)\n", false},
        {"1-2.3.4-5.6", 4, "Failed dash check '-'\n", false},
        {"g.2.3.4", 3, "Invalid number: g\nFailed x.\n", true},
        {"1-1.2.3.4", 3, "Invalid number: -\nFailed x.\n", true},
        {"1.2x.3y.4", 3, "Invalid number: x\nFailed y.z.\n", true},
        {"1.2.3y.4", 3, "Invalid number: y\nFailed y.z.\n", true},
        {"...", 0, "Failed x.\n", true},
        {"...1", 1, "Failed y.z.\n", true},
        {"..1.2", 2, "Failed y.z.\n", true},
        {".1.2.3", 3, "", true},
    };
    set_verb_level(1);
    for (const auto &c : cases) {
        std::string version = c.version;
        const auto told = console_of([&] {
            EXPECT_EQ(check_valid_ver_format_and_image_type(version.data(), c.type), *c.told == '\0' ? 1 : 0);
        });
        EXPECT_EQ(told, c.told) << c.version;
        std::string left = c.version;
        std::replace(left.begin(), left.end(), '.', c.split ? '\0' : '.');
        EXPECT_EQ(version, left) << c.version;
    }
    EXPECT_EQ(console_of([] { EXPECT_EQ(check_valid_ver_format_and_image_type(nullptr, 0), 0); }),
              "Version string is NULL\n");
}

} // namespace
