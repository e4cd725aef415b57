/* SPDX-License-Identifier: MIT */
#include <gtest/gtest.h>

#include "fpga/board.h"
#include "support/capture.h"

using diagtest::console_of;
using diagtest::error_line;

namespace {

struct indirect_case {
    lpc_indr_info info{test_mbox, 0x10, 0x11, 0x12, 0x13, 0x20, 0x21,      0x100, 0x1fe,
                       0xd0,      0x01, 0x80, 0x42, 0x0c, 2,    {7, 8, 9}, 3,     nullptr};
    uint8_t data[3] = {0xa, 0xb, 0xc};
    bool write = false;
    uint8_t busbroker = 0;

    std::string run(uint32_t expected)
    {
        busbroker_req_resp req{};
        int timer = 0;
        info.data = data;
        return console_of([&] {
            EXPECT_EQ((write ? lpctool_indr_write : lpctool_indr_read)(
                          &info, &req, nullptr, "i", "n", busbroker != 0 ? &timer : nullptr, busbroker),
                      expected);
        });
    }
    std::string told(const std::string &message) const
    {
        return error_line(write ? "lpctool_indr_write" : "lpctool_indr_read", message);
    }
};

const std::string head = "W10=42 W11=3 W12=c W13=7 W14=8 ";

TEST(Indirect, SequencesAccessByAccessOnBothPaths)
{
    for (const uint8_t busbroker : {uint8_t{0}, uint8_t{1}}) {
        const std::string pause = busbroker != 0 ? "T1:0.1 " : "S ";
        const std::string polls = "W20=0 W21=d0 " + times(3, pause + "R20 ");
        fpga = {};
        fpga.values = {{0x20, {0, 0, 0x81}}, {0x1fe, {0x31}}, {0x1ff, {0x32}}, {0x200, {0x33}}};
        indirect_case read{.busbroker = busbroker};
        EXPECT_EQ(read.run(0), "");
        EXPECT_EQ(fpga.accesses, head + polls + "R1fe R1ff R200 W20=0 ");
        EXPECT_TRUE(read.data[0] == 0x31 && read.data[1] == 0x32 && read.data[2] == 0x33);
        fpga = {};
        fpga.values[0x20] = {0, 0, 0x01};
        indirect_case write{.write = true, .busbroker = busbroker};
        EXPECT_EQ(write.run(0), "");
        EXPECT_EQ(fpga.accesses, head + written(0x100, {0xa, 0xb, 0xc}) + polls + "W20=0 ");
    }
}

TEST(Indirect, EachFailedAccessHasItsMessageAndEndsTheSequence)
{
    const struct {
        bool write;
        int access;
        const char *message;
    } cases[] = {
        {false, 0, "Writing Config Reg 9\n"},
        {false, 1, "Setting data length 9\n"},
        {false, 2, "Set Opcode 9\n"},
        {false, 4, "Set command CMD[1] 9\n"},
        {false, 5, "Init FPGA status flag 9\n"},
        {false, 6, "Req FPGA to process cmd 9\n"},
        {false, 9, "Reading FPGA status 9\n"},
        {false, 12, "Reading data r_data[2] 9\n"},
        {false, 13, "Reset FPGA status flag 9\n"},
        {true, 0, "Set Device ID 9\n"},
        {true, 1, "Set data length 9\n"},
        {true, 2, "Set Opcode 9\n"},
        {true, 3, "Setting cmd[0] 9\n"},
        {true, 7, "Writing data w_data[2] 9\n"},
        {true, 8, "Init FPGA status flag 9\n"},
        {true, 9, "Request FPGA to process Cmd 9\n"},
        {true, 12, "Reading FPGA status 9\n"},
        {true, 13, "Reset FPGA status flag 9\n"},
    };
    for (const auto &c : cases) {
        fpga = {};
        fpga.values[0x20] = {0, 0, 1};
        fpga.failures[c.access] = 9;
        indirect_case run{.write = c.write};
        const auto told = run.run(9);
        const bool poll = std::string(c.message).starts_with("Reading FPGA");
        const auto expected =
            run.told(c.message) + (poll && c.write ? run.told("LPC indirect write error 0\n") : "");
        EXPECT_TRUE(told.ends_with("\n" + expected)) << told;
        EXPECT_EQ(fpga.count, c.access + 1) << c.message;
    }
}

TEST(Indirect, TheStatusDecides)
{
    const struct {
        bool write;
        uint8_t status;
        const char *message; // empty: passes
    } cases[] = {
        {false, 0, "LPC indirect read error 0\n"},
        {true, 0, "LPC indirect write error 0\n"},
        {false, 0x30, "LPC indirect read error 48\n"},
        {true, 0x30, "LPC indirect write error 30\n"},
        {false, 0x81, ""},
        {true, 0x81, "LPC indirect write error 81\n"},
    };
    for (const auto &c : cases) {
        fpga = {};
        fpga.values = {{0x20, {c.status}}, {0x1fe, {0x31}}};
        indirect_case run{.write = c.write};
        run.info.cmd_len = run.info.data_len = 0;
        const bool fails = *c.message != '\0';
        EXPECT_EQ(run.run(fails ? DIAG_ERR_INVALID_ARG : 0), fails ? run.told(c.message) : "");
        EXPECT_EQ(fpga.accesses,
                  "W10=42 W11=0 W12=c W20=0 W21=d0 " + times(c.status == 0 ? 21 : 1, "S R20 ") + "W20=0 ");
    }
    fpga = {};
    indirect_case late;
    fpga.values[0x20].resize(20);
    fpga.values[0x20].push_back(1);
    EXPECT_EQ(late.run(0), "") << "set in time for the 21st attempt";
    fpga = {};
    fpga.values[0x20] = {0x40};
    indirect_case failed;
    failed.run(DIAG_ERR_INVALID_ARG);
    EXPECT_EQ(failed.data[0], 0xa);
    EXPECT_EQ(fpga.accesses.find("R1fe"), std::string::npos);
}

TEST(Indirect, TracesThreeCommandBytesAndRefusesWhatIsNotACommand)
{
    set_verb_level(3);
    for (const bool write : {false, true}) {
        fpga = {};
        indirect_case run{.write = write};
        run.info.cmd_len = 0;
        fpga.values[0x20] = {1};
        EXPECT_TRUE(run.run(0).starts_with("LI:Dev ID= 42\nLI:Opcode= c\nLI:Data len= 3\nLI:Cmd len= 0\n"
                                           "LI:Cmd[0]= 7\nLI:Cmd[1]= 8\nLI:Cmd[2]= 9\n\n"));
        fpga = {};
        run.info.cmd_len = 4;
        EXPECT_EQ(run.run(DIAG_ERR_INVALID_ARG), run.told("Invalid command length 4, at most 3\n"));
        EXPECT_EQ(console_of([&] {
                      auto *call = write ? lpctool_indr_write : lpctool_indr_read;
                      EXPECT_EQ(call(nullptr, nullptr, nullptr, "", "", nullptr, 0), DIAG_ERR_INVALID_ARG);
                  }),
                  run.told(write ? "Null pointers\n" : "Null pointers"));
        EXPECT_EQ(fpga.accesses, "");
    }
    set_verb_level(0);
}

} // namespace
