/* SPDX-License-Identifier: MIT */
#include <gtest/gtest.h>

#include "fpga/board.h"
#include "support/capture.h"

using diagtest::console_of;
using diagtest::error_line;

namespace {

tool_info some_tool;

uint32_t get(uint8_t *data, busbroker_req_resp *req, uint8_t busbroker)
{
    return lpctool_get_mbox(&test_mbox, 0x12345, data, req, &some_tool, "id", "name", 0x110, busbroker);
}

uint32_t set(busbroker_req_resp *req, uint8_t busbroker)
{
    return lpctool_set_mbox(&test_mbox, 0x12345, 0xfffffea7, req, &some_tool, "id", "name", busbroker);
}

TEST(Mailbox, EachPathTakesItsThreeSteps)
{
    const std::string address = "set 80 23 1 b 0\nset 81 45 1 b 0\n";
    const std::string requests = "fill type 3 support 0 0\n"
                                 "1 id name prio 0 type 3 ind 1: 80=23 n1 w8 f4 c1c\n"
                                 "1 id name prio 0 type 3 ind 2: 81=45 n1 w8 f4 c1c\n";
    const std::string log = "reg 80= 23\nreg 81= 45\n";
    const struct {
        uint8_t busbroker;
        bool read;
        std::string steps, told;
    } cases[] = {
        {0, true, address + "get 82 1 b /tmp/mbox_pipe\n", log + "reg 82= 5a\n"},
        {0, false, address + "set 83 a7 1 b 0\n", log + "reg 83= a7\n"},
        {1, true, requests + "fill type 2 support 0 0\n1 id name prio 0 type 2 ind 5: 82=0 n1 w8 f4 c10\n",
         log + "reg 82= 5a\n"},
        {1, false, requests + "1 id name prio 0 type 3 ind 5: 83=a7 n1 w8 f4 c1c\n", log},
    };
    set_verb_level(2);
    for (const auto &c : cases) {
        fpga = {};
        fpga.values[0x2345] = {0x5a};
        uint8_t data = 0;
        busbroker_req_resp req{};
        const auto told = console_of(
            [&] { EXPECT_EQ(c.read ? get(&data, &req, c.busbroker) : set(&req, c.busbroker), 0u); });
        EXPECT_EQ(told, c.told);
        EXPECT_EQ(fpga.steps, c.steps);
        EXPECT_EQ(fpga.accesses, c.read ? "R2345 " : "W2345=a7 ");
        EXPECT_EQ(data, c.read ? 0x5a : 0);
        EXPECT_EQ(req.write_data, nullptr);
    }
    set_verb_level(0);
}

TEST(Mailbox, AFailedStepEndsTheAccessAndIsToldInThePathsOwnWords)
{
    const char *const messages[2][3] = {
        {"Writing Mbox high addr ", "Writing Mbox low addr ", "Write Mbox data reg "},
        {"Writing Mbox high addr ", "Writing Mbox low addr ", "Read Mbox data reg "}};
    for (int n = 0; n < 12; n++) {
        const bool read = n % 2 != 0;
        const uint8_t busbroker = n % 4 < 2 ? 0 : 1;
        fpga = {};
        fpga.failing_step = n / 4;
        fpga.failures[0] = 30;
        uint8_t data = 0x77;
        busbroker_req_resp req{};
        const auto told =
            console_of([&] { EXPECT_EQ(read ? get(&data, &req, busbroker) : set(&req, busbroker), 30u); });
        const std::string message = messages[read][n / 4] + std::string(busbroker != 0 ? "30\n" : "1e\n");
        EXPECT_EQ(told, error_line(read ? "lpctool_get_mbox" : "lpctool_set_mbox", message));
        EXPECT_TRUE(fpga.step == 0 && fpga.count == 1 && data == 0x77) << fpga.steps;
    }
}

TEST(Mailbox, DevicesAreFoundByNumberOrByTheBeginningOfTheirName)
{
    mbox_indr_dev_cfg devs[] = {{"dev10", 7, &devs[1]}, {"dev1", 8, &devs[2]}, {"x", 7, nullptr}};
    mbox_indr_dev_cfg *list = devs;
    mbox_indr_dev_cfg *empty = nullptr;
    EXPECT_EQ(get_lpctool_mbox_indr_dev_cfg(&list, 0, "dev1", 8), &devs[0]);
    EXPECT_EQ(get_lpctool_mbox_indr_dev_cfg(&list, 0, "x", 0), &devs[2]);
    EXPECT_EQ(get_lpctool_mbox_indr_dev_cfg(&list, 0, "", 0), &devs[0]);
    EXPECT_EQ(get_lpctool_mbox_indr_dev_cfg(&list, 9, "x", 8), &devs[1]);
    EXPECT_EQ(console_of([&] { EXPECT_EQ(get_lpctool_mbox_indr_dev_cfg(&list, 0, "dev2", 7), nullptr); }),
              "");
    for (auto *head : {&empty, static_cast<mbox_indr_dev_cfg **>(nullptr)}) {
        EXPECT_EQ(console_of([&] { EXPECT_EQ(get_lpctool_mbox_indr_dev_cfg(head, 1, "", 7), nullptr); }),
                  "No devices found in the dev list\n");
    }
}

} // namespace
