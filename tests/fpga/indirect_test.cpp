/* SPDX-License-Identifier: MIT */

#include "fpga/board.h"

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
        return error_line(write ? "lpctool_indr_write" : "lpctool_indr_read", message);
    }
};

TEST(Indirect, SequencesAccessByAccessOnBothPaths)
{
    for (const uint8_t busbroker : {uint8_t{0}, uint8_t{1}}) {
        const std::string head = "W10=42 W11=3 W12=c W13=7 W14=8 ";
        const std::string polls = "W20=0 W21=d0 " + times(3, busbroker != 0 ? "T1:0.1 R20 " : "S R20 ");
        fpga = {{{0x20, {0, 0, 0x81}}, {0x1fe, {0x31}}, {0x1ff, {0x32}}, {0x200, {0x33}}}};
        indirect_case read{.write = false, .busbroker = busbroker};
        EXPECT_EQ(read.run(0, &read.info), "");
        EXPECT_EQ(fpga.accesses, head + polls + "R1fe R1ff R200 W20=0 ");
        EXPECT_TRUE(read.data[0] == 0x31 && read.data[1] == 0x32 && read.data[2] == 0x33);
        fpga = {{{0x20, {0, 0, 0x01}}}};
        indirect_case write{.write = true, .busbroker = busbroker};
        EXPECT_EQ(write.run(0, &write.info), "");
        EXPECT_EQ(fpga.accesses, head + "W100=a W101=b W102=c " + polls + "W20=0 ");
    }
}

TEST(Indirect, EachFailedAccessHasItsMessageAndEndsTheSequence)
{
    const char *cases[] = {
        "0 Writing Config Reg|1 Setting data length|2 Set Opcode|4 Set command CMD[1]|"
        "5 Init FPGA status flag|6 Req FPGA to process cmd|9 Reading FPGA status|"
        "12 Reading data r_data[2]|13 Reset FPGA status flag",
        "0 Set Device ID|1 Set data length|2 Set Opcode|3 Setting cmd[0]|7 Writing data w_data[2]|"
        "8 Init FPGA status flag|9 Request FPGA to process Cmd|12 Reading FPGA status|"
        "13 Reset FPGA status flag"};
    for (const bool write : {false, true}) {
        std::istringstream lines(cases[write]);
        int access = 0;
        for (std::string message; lines >> access && std::getline(lines.ignore(), message, '|');) {
            fpga = {{{0x20, {0, 0, 1}}}, {{access, 9}}};
            indirect_case c{.write = write};
            const std::string tail = write && access == 12 ? c.line("LPC indirect write error 0\n") : "";
            const std::string output = c.run(9, &c.info);
            EXPECT_TRUE(output.ends_with("\n" + c.line(message + " 9\n") + tail)) << output;
            EXPECT_EQ(fpga.count, access + 1) << message;
        }
    }
}

TEST(Indirect, TheStatusDecides)
{
    std::vector<uint8_t> last(20); // set in time for the 21st attempt
    last.push_back(1);
    // The status, and what reads and writes tell of it.
    const std::tuple<std::vector<uint8_t>, int, std::array<const char *, 2>> cases[] = {
        {{0}, 21, {"0", "0"}}, {{0x30}, 1, {"48", "30"}}, {{0x81}, 1, {"", "81"}}, {last, 21, {"", ""}}};
    for (const auto &[status, attempts, tells] : cases) {
        for (const bool write : {false, true}) {
            fpga = {{{0x20, status}}};
            indirect_case c{.write = write};
            const std::string told = tells[write],
                              head = write ? "LPC indirect write error " : "LPC indirect read error ";
            c.info.cmd_len = 0;
            EXPECT_EQ(c.run(told.empty() ? 0 : DIAG_ERR_INVALID_ARG, &c.info),
                      told.empty() ? "" : c.line(head + told + "\n"));
            EXPECT_EQ(fpga.accesses, "W10=42 W11=3 W12=c " +
                                         std::string(write ? "W100=a W101=b W102=c " : "") + "W20=0 W21=d0 " +
                                         times(attempts, "S R20 ") +
                                         (write || !told.empty() ? "" : "R1fe R1ff R200 ") + "W20=0 ");
        }
    }
}

TEST(Indirect, TracesThreeCommandBytesAndRefusesWhatIsNotACommand)
{
    for (const bool write : {false, true}) {
        fpga = {{{0x20, {1}}}};
        indirect_case c{.write = write};
        const std::string null = c.line(write ? "Null pointers\n" : "Null pointers");
        c.info.cmd_len = 0;
        set_verb_level(2);
        EXPECT_EQ(c.run(0, &c.info).find("LI:"), std::string::npos);
        set_verb_level(3);
        EXPECT_TRUE(c.run(0, &c.info)
                        .starts_with("LI:Dev ID= 42\nLI:Opcode= c\nLI:Data len= 3\nLI:Cmd len= 0\n"
                                     "LI:Cmd[0]= 7\nLI:Cmd[1]= 8\nLI:Cmd[2]= 9\n\nreg"));
        fpga = {};
        c.info.cmd_len = 4;
        EXPECT_EQ(c.run(DIAG_ERR_INVALID_ARG, &c.info), c.line("Invalid command length 4, at most 3\n"));
        EXPECT_EQ(c.run(DIAG_ERR_INVALID_ARG, nullptr), null);
        c.info.data = nullptr;
        EXPECT_EQ(c.run(DIAG_ERR_INVALID_ARG, &c.info), null);
        EXPECT_EQ(fpga.accesses, "");
    }
}
