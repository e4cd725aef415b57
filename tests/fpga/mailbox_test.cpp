/* SPDX-License-Identifier: MIT */
#include "fpga/board.h"

struct access_case {
    bool read;
    uint8_t busbroker;
    busbroker_req_resp req{};
    tool_info tool{};
    uint8_t data = 0x77;

    std::string run(uint32_t status)
    {
        return told(status, [this] {
            return read ? lpctool_get_mbox(&test_mbox, 0x12345, &data, &req, &tool, "id", "nm", 0x110,
                                           busbroker)
                        : lpctool_set_mbox(&test_mbox, 0x12345, 0xffa7, &req, &tool, "id", "nm", busbroker);
        });
    }
};

TEST(Mailbox, EachPathTakesItsThreeSteps)
{
    const std::string runs = "set 80 23 1 b 0\nset 81 45 1 b 0\n", log = "reg 80= 23\nreg 81= 45\n";
    const std::string requests = "1 id nm prio 0 type 3 ind 1: 80=23 n1 w8 f4 c1c s0\n"
                                 "1 id nm prio 0 type 3 ind 2: 81=45 n1 w8 f4 c1c s0\n";
    const std::string cases[2][2][2] = {
        {{runs + "set 83 a7 1 b 0\n", log + "reg 83= a7\n"},
         {requests + "1 id nm prio 0 type 3 ind 5: 83=a7 n1 w8 f4 c1c s0\n", log}},
        {{runs + "get 82 1 b /tmp/mbox_pipe\n", log + "reg 82= 5a\n"},
         {requests + "1 id nm prio 0 type 2 ind 5: 82=0 n1 w8 f4 c10 s0\n", log + "reg 82= 5a\n"}}};
    set_verb_level(2);
    for (int n = 0; n < 4; n++) {
        fpga = {};
        fpga.values[0x2345] = {0x5a};
        access_case c{.read = n > 1, .busbroker = static_cast<uint8_t>(n % 2)};
        EXPECT_EQ(c.run(0), cases[n / 2][n % 2][1]);
        EXPECT_EQ(fpga.steps, cases[n / 2][n % 2][0]);
        EXPECT_EQ(c.data, c.read ? 0x5a : 0x77);
        EXPECT_TRUE(c.req.write_data == nullptr && c.req.data == nullptr) << "what it pointed at is gone";
    }
    set_verb_level(0);
}

TEST(Mailbox, AFailedStepEndsTheAccessAndIsToldInThePathsOwnWords)
{
    const std::string messages[] = {"Writing Mbox high addr ", "Writing Mbox low addr ",
                                    "Write Mbox data reg ", "Read Mbox data reg "};
    for (int n = 0; n < 12; n++) {
        fpga = {};
        fpga.failing_step = n / 4;
        fpga.failures[0] = 30;
        access_case c{.read = n % 2 != 0, .busbroker = static_cast<uint8_t>(n % 4 / 2)};
        const auto &message = messages[c.read && fpga.failing_step == 2 ? 3 : fpga.failing_step];
        EXPECT_EQ(c.run(30), error_line(c.read ? "lpctool_get_mbox" : "lpctool_set_mbox",
                                        message + (c.busbroker != 0 ? "30\n" : "1e\n")));
        EXPECT_TRUE(fpga.step == 0 && fpga.count == 1 && c.data == 0x77) << fpga.steps;
    }
}

TEST(Mailbox, DevicesAreFoundByNumberOrByTheBeginningOfTheirName)
{
    mbox_indr_dev_cfg devs[] = {{"dev10", 7, &devs[1]}, {"dev1", 8, &devs[2]}, {"x", 7, nullptr}};
    mbox_indr_dev_cfg *list = devs, *empty = nullptr;
    EXPECT_EQ(get_lpctool_mbox_indr_dev_cfg(&list, 0, "dev1", 8), &devs[0]);
    EXPECT_EQ(get_lpctool_mbox_indr_dev_cfg(&list, 0, "", 0), &devs[0]);
    EXPECT_EQ(get_lpctool_mbox_indr_dev_cfg(&list, 9, "x", 8), &devs[1]);
    EXPECT_EQ(told(1, [&] { return get_lpctool_mbox_indr_dev_cfg(&list, 0, "dev2", 7) == nullptr; }), "");
    for (auto *head : {&empty, static_cast<mbox_indr_dev_cfg **>(nullptr)}) {
        EXPECT_EQ(told(1, [&] { return get_lpctool_mbox_indr_dev_cfg(head, 1, "", 7) == nullptr; }),
                  "No devices found in the dev list\n");
    }
}
