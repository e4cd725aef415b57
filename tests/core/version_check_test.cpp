/* SPDX-License-Identifier: MIT */

#include "support/capture.h"

// Each row ends with the notice, which is empty for what is valid.

TEST(VersionCheck, CharacterClasses)
{
    using row = std::tuple<decltype(&check_valid_char), const char *, int, bool, std::string>;
    constexpr auto text = check_valid_char, number = check_valid_number;
    set_verb_level(1);
    for (const row &c :
         {row(text, "ab_1", 4, false, "Invalid char: _\n"), row(text, "ab_1", 2, false, ""),
          row(text, "aZ09-._ ", 8, true, ""), row(text, "a/", 2, true, "Invalid char: /\n"),
          row(text, "?", -1, false, ""), row(text, "\xe4", 1, true, "Invalid char: \xe4\n"),
          row(number, "09afAF", 6, true, ""), row(number, "1F", 2, false, "Invalid number: F\n"),
          row(number, "1g", 2, true, "Invalid number: g\n"), row(number, "-", 0, false, "")}) {
        const auto valid = [&] { return std::get<0>(c)(std::get<1>(c), std::get<2>(c), std::get<3>(c)); };
        EXPECT_EQ(console_of([&] { EXPECT_EQ(valid(), std::get<4>(c).empty() ? 1 : 0); }), std::get<4>(c));
    }
}

TEST(VersionCheck, Versions)
{
    const std::string dots = "Failed dots check (.'s)\n", dash = "Failed dash check '-'\n", x = "Failed x.\n",
                      yz = "Failed y.z.\n", image = "Invalid Image type\n";
    using row = std::tuple<std::string, int, std::string>;
    set_verb_level(1);
    for (const row &c :
         {row("1.2.3.4", 3, ""), row("1.0a.2.7-b", 2, ""), row("1.2.1a.9", 1, ""), row(".1.2.3", 3, ""),
          row("1.2.3.4", 4, image), row("1.2.4294967299.4", 3, image), row("1.2.3", 3, dots),
          row("1.2.3.4.5", 3, dots), row("1-2.3-4", 3, dots), row("1-2.3.4-5.6", 4, dash),
          row("g.2.3.4", 3, "Invalid number: g\n" + x), row("1.2x.3y.4", 3, "Invalid number: x\n" + yz),
          row("1.2.3-.4", 3, "Invalid number: -\n" + yz), row("...", 0, x), row("..1.2", 2, yz)}) {
        const auto &[text, type, notice] = c;
        std::string version = text, left = text;
        const auto valid = [&] {
            return check_valid_ver_format_and_image_type(version.data(), std::get<1>(c));
        };
        EXPECT_EQ(console_of([&] { EXPECT_EQ(valid(), std::get<2>(c).empty() ? 1 : 0); }), notice) << text;
        std::replace(left.begin(), left.end(), '.', notice == dots || notice == dash ? '.' : '\0');
        EXPECT_EQ(version, left);
    }
    EXPECT_EQ(console_of([] { EXPECT_EQ(check_valid_ver_format_and_image_type(nullptr, 0), 0); }),
              "Version string is NULL\n");
}
