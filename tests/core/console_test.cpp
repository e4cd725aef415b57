/* SPDX-License-Identifier: MIT */
#include <cstring>
#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <boarddiag.h>

#include "support/capture.h"

using diagtest::console_of;

namespace {

// The dump of `text` in memory that ends where the text does, at an odd address.
std::string dumped(const std::string &text, int group_bits, uint32_t base, int show, uint8_t width,
                   int level = 0)
{
    std::vector<char> exact(text.size() + 1);
    memcpy(exact.data() + 1, text.data(), text.size());
    return console_of([&] {
        dump_hex(exact.data() + 1, group_bits, static_cast<uint32_t>(text.size()), base, show, width, level);
    });
}

std::string repeated(const std::string &text, size_t times)
{
    std::string result;
    while (times-- != 0) {
        result += text;
    }
    return result;
}

TEST(Console, Dumps)
{
    const std::string letters = "ABCDEFGHIJKLMNOPQR";
    const std::string low{'\1', '\0', '\0', '\0', '\2', '\0', '\1', '\0'}; // 1 and 0x10002
    struct {
        std::string text;
        int group_bits;
        uint32_t base;
        int show;
        uint8_t width;
        std::string expected;
    } const cases[] = {
        {"", 8, 0, 1, 1, "\n"},
        {"", 8, 0, 1, 3, "\n"},
        {letters, 8, 0x100, 1, 1,
         "[00000100]: 0x41 0x42 0x43 0x44 0x45 0x46 0x47 0x48 0x49 0x4a 0x4b 0x4c 0x4d 0x4e 0x4f 0x50 "
         " || ABCDEFGHIJKLMNOP\n[00000110]: 0x51 0x52  || QR\n"},
        {letters, 32, 0, 1, 1,
         "[00000000]: 0x41424344 0x45464748 0x494a4b4c 0x4d4e4f50  || ABCDEFGHIJKLMNOP\n"
         "[00000010]: 0x5152 || QR\n"},
        // A group that a line leaves open ends on the next, behind its label; addresses wrap.
        {letters + "S", 80, 0xfffffff0, -1, 1,
         "[fffffff0]: 0x4142434445464748494a  || ABCDEFGHIJKLMNOP\n"
         "[00000000]: 0x4b4c4d4e4f50515253 || QRS\n"},
        {std::string(40, 'Z'), 160, 0, 1, 1,
         "[00000000]:  || ZZZZZZZZZZZZZZZZ\n[00000010]: 0x" + repeated("5a", 20) +
             "  || ZZZZZZZZZZZZZZZZ\n[00000020]: 0x" + repeated("5a", 20) + "  || ZZZZZZZZ\n"},
        {letters.substr(0, 16), 16, 0, 0, 1, "0x4142 0x4344 0x4546 0x4748 0x494a 0x4b4c 0x4d4e 0x4f50 \n\n"},
        {"\x1f ~\x7f\x80\xff", 48, 0, 1, 1, "[00000000]: 0x1f207e7f80ff  || . ~...\n"},
        {"\1\x80\xff\xff", 8, 0, 0, 2, "0x8001\t0xffff\t\n"},
        {letters, 64, 0, 1, 2, "[00000000]: 0x42414443464548474a494c4b4e4d504f\t\n[00000010]: 0x5251\n"},
        {low, 8, 0, 1, 4, "[00000000]: 0x0001\t0x10002\t\n"},
        {letters.substr(0, 16), 16, 0, 0, 4, "0x4443424148474645\t0x4c4b4a49504f4e4d\t\n\n"},
        // Data that end inside an item: its missing bytes are 0.
        {"\1\2\3", 16, 0, 0, 2, "0x02010003\t\n"},
        {"\1\2\3\4\5\6\x17", 8, 0, 0, 4, "0x4030201\t0x170605\t\n"},
        {letters.substr(0, 15), 128, 0, 0, 2, "0x42414443464548474a494c4b4e4d004f\n"},
        // Group sizes without an item, and beyond the longest group.
        {"AB", 0, 0, 0, 1, "0x41 0x42 \n"},
        {"AB", -64, 0, 0, 1, "0x41 0x42 \n"},
        {std::string(64, 'A'), 8000, 0, 0, 1, "\n\n\n0x" + repeated("41", 62) + " 0x4141\n\n"},
        {std::string(64, 'A'), INT32_MAX, 0, 0, 2, "\n\n\n0x" + repeated("4141", 30) + "\t0x41414141\n\n"},
        {std::string(124, 'A'), 240, 0, 0, 4,
         repeated("\n", 7) + "0x" + repeated("41414141", 30) + "\t0x41414141\n"},
        {"AB", 8, 0, 0, 3, diagtest::error_line("dump_hex", "Invalid item width 3\n")},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(dumped(c.text, c.group_bits, c.base, c.show, c.width), c.expected);
    }
    EXPECT_EQ(dumped("A", 8, 0, 1, 1, 1), "");
    EXPECT_EQ(dumped("AB", 16, 0, 1, 1, -1),
              "ERROR: [00000000]: ERROR: 0x4142 ERROR:  || ERROR: AERROR: BERROR: \n");
}

TEST(Console, FillStringsAndVerdicts)
{
    for (const char c : std::string("-*=._+| x")) {
        for (const int n : {1, 5, 170}) {
            EXPECT_EQ(fillWith(c, n), std::string(static_cast<size_t>(n), c == 'x' ? ' ' : c));
        }
        for (const int n : {0, -1, 171, INT32_MIN}) {
            EXPECT_STREQ(fillWith(c, n), "");
        }
    }
    EXPECT_EQ(console_of([] {
                  print_test_result("ddr", 0);
                  print_test_result("i2c", -1);
              }),
              "ddr: Overall test results------------------ >>>> PASSED\n"
              "i2c: Overall test results------------------ FAILED <<<<\n");
}

TEST(Console, ParsedTrees)
{
    const char text[] = "<!DOCTYPE a [<!ENTITY e 'entity'>]><a>\n<b>10.0.0.1</b><!-- c --><d><e/> x</d>\r\n"
                        "<f>&e;</f></a>";
    xmlDoc *const doc = xmlReadMemory(text, sizeof text - 1, nullptr, nullptr, 0);
    ASSERT_NE(doc, nullptr);
    set_verb_level(3);
    const std::string below = "node type: b = 10.0.0.1\nnode type: d node type: e =  x\n\nnode type: f ";
    xmlNode *const root = xmlDocGetRootElement(doc);
    EXPECT_EQ(console_of([&] { print_element(root); }), "node type: a \n" + below);
    EXPECT_EQ(console_of([&] { print_element(root->children->next); }), below);
    set_verb_level(2);
    EXPECT_EQ(console_of([&] { print_element(root); }), "");
    print_element(nullptr);
    xmlFreeDoc(doc);
}

TEST(Console, CopiesFrontToBack)
{
    uint8_t bytes[] = {1, 2, 3, 4};
    EXPECT_EQ(update_buf(bytes + 1, 3, bytes), 0u);
    EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + 4), std::vector<uint8_t>(4, 1));
    EXPECT_EQ(update_buf(nullptr, 0, bytes), 0u);
    EXPECT_EQ(console_of([&] { EXPECT_EQ(update_buf(bytes, 0, nullptr), DIAG_ERR_INVALID_ARG); }),
              diagtest::error_line("update_buf", "Input data pointer is NULL\n"));
}

} // namespace
