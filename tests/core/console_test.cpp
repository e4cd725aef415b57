/* SPDX-License-Identifier: MIT */
#include <libxml/parser.h>

#include "support/capture.h"

namespace {

// The dump of `text` in memory that starts at an odd address and ends where the text does.
std::string dumped(const std::string &text, int group_bits, uint32_t base, int show, uint8_t width,
                   int level = 0)
{
    const auto exact = std::make_unique<char[]>(text.size() + 1);
    text.copy(exact.get() + 1, text.size());
    const auto length = static_cast<uint32_t>(text.size());
    return console_of([&] { dump_hex(exact.get() + 1, group_bits, length, base, show, width, level); });
}

} // namespace

TEST(Console, Dumps)
{
    const std::string letters = "ABCDEFGHIJKLMNOPQR";
    const std::tuple<std::string, int, uint32_t, int, uint8_t, std::string> cases[] = {
        {"", 8, 0, 1, 3, "\n"},
        {letters, 8, 0x100, 1, 1,
         "[00000100]: 0x41 0x42 0x43 0x44 0x45 0x46 0x47 0x48 0x49 0x4a 0x4b 0x4c 0x4d 0x4e 0x4f 0x50 "
         " || ABCDEFGHIJKLMNOP\n[00000110]: 0x51 0x52  || QR\n"},
        {letters.substr(0, 16), 32, 0, 0, 1, "0x41424344 0x45464748 0x494a4b4c 0x4d4e4f50 \n\n"},
        // A group that a line leaves open ends on the next, behind its label; addresses wrap.
        {letters + "S", 80, 0xfffffff0, -1, 1,
         "[fffffff0]: 0x4142434445464748494a  || ABCDEFGHIJKLMNOP\n[00000000]: 0x4b4c4d4e4f50515253 || "
         "QRS\n"},
        {"\x1f ~\x7f\x80", 48, 0, 1, 1, "[00000000]: 0x1f207e7f80 || . ~..\n"},
        {"\1\x80\xff\xff", 8, 0, 0, 2, "0x8001\t0xffff\t\n"},
        {letters, 64, 0, 1, 2, "[00000000]: 0x42414443464548474a494c4b4e4d504f\t\n[00000010]: 0x5251\n"},
        {std::string("\1\0\0\0\2\0\1", 7), 8, 0, 0, 4, "0x0001\t0x10002\t\n"},
        {letters.substr(0, 15), 128, 0, 0, 2, "0x42414443464548474a494c4b4e4d004f\n"},
        // Group sizes without an item, and beyond the longest group.
        {"AB", -64, 0, 0, 1, "0x41 0x42 \n"},
        {std::string(64, 'D'), 8000, 0, 0, 1, "\n\n\n0x" + std::string(124, '4') + " 0x4444\n\n"},
        {std::string(64, 'D'), INT32_MAX, 0, 0, 2, "\n\n\n0x" + std::string(120, '4') + "\t0x44444444\n\n"},
        {std::string(120, 'D'), 240, 0, 0, 4, std::string(7, '\n') + "0x" + std::string(240, '4') + "\t\n"},
        {"AB", 8, 0, 0, 3, error_line("dump_hex", "Invalid item width 3\n")}};
    for (const auto &[text, group_bits, base, show, width, expected] : cases) {
        EXPECT_EQ(dumped(text, group_bits, base, show, width), expected);
    }
    EXPECT_EQ(dumped("A", 8, 0, 1, 1, 1), "");
    EXPECT_EQ(dumped("AB", 16, 0, 1, 1, -1),
              "ERROR: [00000000]: ERROR: 0x4142 ERROR:  || ERROR: AERROR: BERROR: \n");
}

TEST(Console, FillStringsAndVerdicts)
{
    for (const char c : std::string("-*=._+| x")) {
        EXPECT_EQ(fillWith(c, 1), std::string(1, c == 'x' ? ' ' : c));
        EXPECT_EQ(fillWith(c, 170), std::string(170, c == 'x' ? ' ' : c));
        EXPECT_EQ(std::string(fillWith(c, 0)) + fillWith(c, -1) + fillWith(c, 171), "");
    }
    EXPECT_EQ(console_of([] { print_test_result("ddr", 0), print_test_result("i2c", -1); }),
              "ddr: Overall test results------------------ >>>> PASSED\n"
              "i2c: Overall test results------------------ FAILED <<<<\n");
}

TEST(Console, Trees)
{
    const char text[] =
        "<!DOCTYPE a [<!ENTITY port '5001'><!ENTITY ip '::1'>]><a>\n<b>10.0.0.1</b><!-- c --><d><e/> x</d>"
        "<ip>&ip;</ip><PortNo>&port;</PortNo><g>a\x7f\tb</g></a>";
    const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> doc(
        xmlReadMemory(text, sizeof text - 1, nullptr, nullptr, 0), xmlFreeDoc);
    const std::string below = "node type: b = 10.0.0.1\nnode type: d node type: e =  x\n"
                              "node type: ip = ::1\nnode type: PortNo = 5001\nnode type: g = a\\x7f\tb\n";
    set_verb_level(3);
    xmlNode *const root = xmlDocGetRootElement(doc.get());
    EXPECT_EQ(console_of([&] { print_element(root); }), "node type: a \n" + below);
    EXPECT_EQ(console_of([&] { print_element(root->children->next); }), below);
    print_element(nullptr);

    // The way from an entity's declaration may lead back to the reference; by hand, as no parser makes it.
    xmlNode *const entity = xmlGetIntSubset(doc.get())->children;
    xmlNode *const reference = root->last->prev->children;
    ASSERT_EQ(reference->children, entity);
    const std::unique_ptr<xmlNode, decltype(&xmlFreeNode)> back(xmlNewReference(doc.get(), entity->name),
                                                                xmlFreeNode);
    entity->children->next = back.get();
    EXPECT_EQ(console_of([&] { print_element(reference); }), "= 5001\n= 5001\n");
    entity->children->next = nullptr;

    // Nodes of the fields that count alone; deeper than any stack carries.
    std::vector<xmlNode> chain(300'000);
    for (size_t i = 0; i + 1 < chain.size(); i++) {
        chain[i].children = &chain[i + 1];
    }
    chain.front().type = XML_ELEMENT_NODE;
    chain.front().name = root->name;
    chain.back().type = XML_TEXT_NODE;
    chain.back().content = const_cast<xmlChar *>(root->name);
    EXPECT_EQ(console_of([&] { print_element(chain.data()); }), "node type: a = a\n");
    chain[0].type = XML_ENTITY_REF_NODE; // made by hand, of texts in a list
    chain[1].type = XML_TEXT_NODE;
    chain[1].children = nullptr, chain[1].next = &chain.back();
    EXPECT_EQ(console_of([&] { print_element(chain.data()); }), "= \n= a\n");
}

TEST(Console, CopiesFrontToBack)
{
    uint8_t bytes[] = {1, 2, 3, 4};
    EXPECT_EQ(update_buf(bytes + 1, 3, bytes) + update_buf(nullptr, 0, bytes), 0u);
    EXPECT_EQ(bytes[3], 1);
    EXPECT_EQ(console_of([&] { EXPECT_EQ(update_buf(bytes, 0, nullptr), DIAG_ERR_INVALID_ARG); }),
              error_line("update_buf", "Input data pointer is NULL\n"));
}
