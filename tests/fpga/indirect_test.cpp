/* SPDX-License-Identifier: MIT */
#include <sstream>

#include "fpga/board.h"

namespace {

struct indirect_case {
    bool write;
    uint8_t busbroker = 0;
    uint8_t data[3] = {0xa, 0xb, 0xc};
    lpc_indr_info info{test_mbox, 0x10, 0x11, 0x12, 0x13, 0x20, 0x21,      0x100, 0x1fe,
                       0xd0,      0x01, 0x80, 0x42, 0x0c, 2,    {7, 8, 9}, 3,     data};
    busbroker_req_resp req{};

    std::string run(uint32_t status, const lpc_indr_info *command)
    {
        auto *call = write ? lpctool_indr_write : lpctool_indr_read;
        return told(status, [=, this] { return call(command, &req, nullptr, "", "", this, busbroker); });
    }
    std::string line(const std::string &message) const
    {
        return diagtest::error_line(write ? "lpctool_indr_write" : "lpctool_indr_read", message);
    }
};

TEST(Indirect, SequencesAccessByAccessOnBothPaths)
{
    for (const uint8_t busbroker : {uint8_t{0}, uint8_t{1}}) {
        const std::string head = "W10=42 W11=3 W12=c W13=7 W14=8 ";
        const std::string polls = "W20=0 W21=d0 " + times(3, busbroker != 0 ? "T1:0.1 R20 " : "S R20 ");
        fpga = {};
        fpga.values = {{0x20, {0, 0, 0x81}}, {0x1fe, {0x31}}, {0x1ff, {0x32}}, {0x200, {0x33}}};
        indirect_case read{.write = false, .busbroker = busbroker};
        EXPECT_EQ(read.run(0, &read.info), "");
        EXPECT_EQ(fpga.accesses, head + polls + "R1fe R1ff R200 W20=0 ");
        EXPECT_TRUE(read.data[0] == 0x31 && read.data[1] == 0x32 && read.data[2] == 0x33);
        fpga = {};
        fpga.values[0x20] = {0, 0, 0x01};
        indirect_case write{.write = true, .busbroker = busbroker};
        EXPECT_EQ(write.run(0, &write.info), "");
        EXPECT_EQ(fpga.accesses, head + "W100=a W101=b W102=c " + polls + "W20=0 ");
    }
}

TEST(Indirect, EachFailedAccessHasItsMessageAndEndsTheSequence)
{
    const std::string cases[] = {
        "0 Writing Config Reg|1 Setting data length|2 Set Opcode|4 Set command CMD[1]|5 Init FPGA status "
        "flag|"
        "6 Req FPGA to process cmd|9 Reading FPGA status|12 Reading data r_data[2]|13 Reset FPGA status flag",
        "0 Set Device ID|1 Set data length|2 Set Opcode|3 Setting cmd[0]|7 Writing data w_data[2]|8 Init "
        "FPGA status "
        "flag|9 Request FPGA to process Cmd|12 Reading FPGA status|13 Reset FPGA status flag"};
    for (const bool write : {false, true}) {
        std::istringstream lines(cases[write]);
        for (std::string line; std::getline(lines, line, '|');) {
            const int access = std::stoi(line);
            const std::string message = line.substr(line.find(' ') + 1) + " 9\n";
            fpga = {};
            fpga.values[0x20] = {0, 0, 1};
            fpga.failures[access] = 9;
            indirect_case c{.write = write};
            const std::string tail = write && access == 12 ? c.line("LPC indirect write error 0\n") : "";
            const std::string output = c.run(9, &c.info);
            EXPECT_TRUE(output.ends_with("\n" + c.line(message) + tail)) << output;
            EXPECT_EQ(fpga.count, access + 1) << message;
        }
    }
}

TEST(Indirect, TheStatusDecides)
{
    const std::pair<uint8_t, const char *> cases[2][3] = {
        {{0, "LPC indirect read error 0\n"}, {0x30, "LPC indirect read error 48\n"}, {0x81, ""}},
        {{0, "LPC indirect write error 0\n"},
         {0x30, "LPC indirect write error 30\n"},
         {0x81, "LPC indirect write error 81\n"}}};
    for (const bool write : {false, true}) {
        for (const auto &[status, message] : cases[write]) {
            fpga = {};
            fpga.values[0x20] = {status};
            indirect_case c{.write = write};
            c.info.cmd_len = 0;
            c.info.data_len = status == 0x81 ? 0 : 1;
            const bool passes = *message == '\0';
            EXPECT_EQ(c.run(passes ? 0 : DIAG_ERR_INVALID_ARG, &c.info), passes ? "" : c.line(message));
            EXPECT_EQ(fpga.accesses, "W10=42 W11=" + std::to_string(c.info.data_len) + " W12=c " +
                                         (write && status != 0x81 ? "W100=a " : "") + "W20=0 W21=d0 " +
                                         times(status == 0 ? 21 : 1, "S R20 ") + "W20=0 ");
        }
    }
    fpga = {};
    fpga.values[0x20].resize(20);
    fpga.values[0x20].push_back(1);
    indirect_case last{.write = false};
    EXPECT_EQ(last.run(0, &last.info), "") << "set in time for the 21st attempt";
}

TEST(Indirect, TracesThreeCommandBytesAndRefusesWhatIsNotACommand)
{
    set_verb_level(3);
    for (const bool write : {false, true}) {
        fpga = {};
        fpga.values[0x20] = {1};
        indirect_case c{.write = write};
        c.info.cmd_len = 0;
        EXPECT_TRUE(c.run(0, &c.info)
                        .starts_with("LI:Dev ID= 42\nLI:Opcode= c\nLI:Data len= 3\nLI:Cmd len= 0\n"
                                     "LI:Cmd[0]= 7\nLI:Cmd[1]= 8\nLI:Cmd[2]= 9\n\n"));
        fpga = {};
        c.info.cmd_len = 4;
        EXPECT_EQ(c.run(DIAG_ERR_INVALID_ARG, &c.info), c.line("Invalid command length 4, at most 3\n"));
        EXPECT_EQ(c.run(DIAG_ERR_INVALID_ARG, nullptr), c.line(write ? "Null pointers\n" : "Null pointers"));
        EXPECT_EQ(fpga.accesses, "");
    }
    set_verb_level(0);
}

} // namespace
