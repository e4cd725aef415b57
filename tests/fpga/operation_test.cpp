/* SPDX-License-Identifier: MIT */
#include "fpga/board.h"

namespace {

using diagtest::error_line;

constexpr fpga_reg_map map{0x10, 0x11, 0x12, 0x13, 0x20, 0x21, 0x100, 0x200, {0x30, 0x71, 0x72, 0x61, 0x62},
                           0xd0, 0x01, 0x0f, 0x02};

struct operation_case {
    uint32_t op;
    uint8_t incr = 1;
    fpga_dev_info dev{0x42, {0xf8, 0xff, 0xff}, 3, 0x0c, test_mbox, incr};
    std::vector<uint8_t> buf = std::vector<uint8_t>(20, 7);

    std::string run(uint32_t status, uint32_t len = 20)
    {
        fpga.values = {{0x30, {0x72}}, {0x20, {0, 0x01, 0x01}}, {0x200, {0x80, 0x81, 0x82}}, {0x203, {0x83}}};
        return told(status, [&] { return lpctool_mbox_indr_access_op(op, &dev, &map, buf.data(), len, 0); });
    }
};

TEST(Operation, ChunksAccessByAccess)
{
    const std::string start = "W30=71 S R30 W10=42 W12=c ", cmd = "W13=f8 W14=ff W15=ff ";
    const std::string ack[] = {"W21=d0 S R20 S R20 ", "W21=d0 S R20 "}, reset = "W20=f ";
    const std::string lens[] = {"W11=10 ", "W11=4 "}, tail = "W100=7 W101=7 W102=7 W103=7 ";
    std::string moves[3][2][2] = {{{times(16, "W100=7 "), times(4, "W100=7 ")}, {"", tail}},
                                  {{times(16, "R200 "), times(4, "R200 ")}, {"", "R200 R201 R202 R203 "}},
                                  {}};
    for (const char digit : std::string("0123456789abcdef")) {
        moves[0][1][0] += std::string("W10") + digit + "=7 ";
        moves[1][1][0] += std::string("R20") + digit + " ";
    }
    for (uint32_t n = 0; n < 6; n++) {
        operation_case c{.op = n / 2, .incr = static_cast<uint8_t>(n % 2)};
        const auto chunk = [&](int i, const std::string &command) {
            const std::string &move = moves[c.op][c.incr][i];
            return lens[i] + command + (c.op == 0 ? move + ack[i] : ack[i] + move) + reset;
        };
        fpga = {};
        EXPECT_EQ(c.run(0), "");
        EXPECT_EQ(fpga.accesses, start + chunk(0, cmd) + chunk(1, c.incr != 0 ? "W13=8 W14=0 W15=0 " : cmd));
        EXPECT_TRUE(c.dev.cmd[0] == (c.incr != 0 ? 0x18 : 0xf8) && c.dev.cmd[2] == (c.incr != 0 ? 0 : 0xff));
        const std::vector<uint8_t> ends{c.buf[0], c.buf[1], c.buf[3], c.buf[16], c.buf[19]};
        EXPECT_EQ(ends, c.op != 1     ? std::vector<uint8_t>({7, 7, 7, 7, 7})
                        : c.incr != 0 ? std::vector<uint8_t>({0x80, 7, 0x83, 0x81, 0x83})
                                      : std::vector<uint8_t>({0x80, 0x81, 0x82, 0x82, 0x82}));
    }
    fpga = {};
    EXPECT_EQ(operation_case{.op = 0}.run(0, 0), "");
    EXPECT_EQ(fpga.accesses, start);
}

TEST(Operation, EachFailedAccessHasItsMessageAndStatus)
{
    const std::string reset = "Unable to reset FPGA flag \n", function = "lpctool_mbox_indr_access_op";
    // Operation, failing accesses from and to, message, last accesses.
    const std::tuple<uint32_t, int, int, std::string, std::string> cases[] = {
        {0, 0, 0, "unable to set FPGA in to test mode\n", "W30=71! "},
        {0, 2, 2, "Failed to write dev id\n", "W10=42! "},
        {0, 3, 3, "Failed to write to op_code register\n", "W12=c! "},
        {0, 4, 4, "Failed to write to data length register\n", "W11=10! "},
        {0, 7, 7, "Failed to write to cmd register 21 \n", "W15=ff! "},
        {0, 9, 9, "Failed to write to FPGA write register \n", "W101=7! W20=f "},
        {0, 9, 10, "Failed to write to FPGA write register \n", "W101=7! W20=f! "},
        {0, 27, 27, reset, "W20=f! "},
        {1, 12, 12, "Failed to Read from FPGA read buffer \n", "R201! W20=f "},
        {1, 12, 13, "Failed to Read from FPGA read buffer \n", "R201! W20=f! "}};
    for (const auto &[op, from, to, message, last] : cases) {
        fpga = {};
        fpga.failures[from] = fpga.failures[to] = 5;
        operation_case c{.op = op};
        const std::string output = c.run(op == 1 ? DIAG_ERR_ACCESS : DIAG_ERR_INVALID_ARG);
        EXPECT_NE(output.find(error_line(function, message)), std::string::npos) << output;
        EXPECT_EQ(output.ends_with(error_line(function, reset)), last.ends_with("W20=f! "));
        EXPECT_TRUE((" " + fpga.accesses).ends_with(" " + last)) << fpga.accesses;
        EXPECT_EQ(c.dev.cmd[0], 0xf8) << "only a completed chunk advances the address";
    }
}

TEST(Operation, TheModeIsAcknowledgedInTimeAndAFailedReadStays)
{
    const std::string late = error_line("set_fpga_mode", "FPGA didn't respond to mode setting\n");
    const std::string unread = error_line("lpctool_get_mbox", "Read Mbox data reg 4d2\n") +
                               error_line("set_fpga_mode", "Reading FPGA status 1234\n");
    // Mode, other values read before the acknowledgement, failing access, output, accesses.
    const std::tuple<uint32_t, size_t, int, std::string, int> cases[] = {
        {0, 0, 99, "", 2}, {1, 20, 99, "", 22}, {1, 21, 99, late, 22}, {0, 1, 2, unread, 4}};
    for (const auto &[mode, others, failing, output, accesses] : cases) {
        fpga = {};
        fpga.values[0x30].resize(others);
        fpga.values[0x30].push_back(mode == 0 ? 0x72 : 0x62);
        fpga.failures[failing] = 1234;
        EXPECT_EQ(told(output.empty() ? 0 : DIAG_ERR_INVALID_ARG,
                       [m = mode] { return set_fpga_mode(&map.mode, &test_mbox, m, 0); }),
                  output);
        EXPECT_TRUE(fpga.count == accesses && fpga.accesses.starts_with(mode == 0 ? "W30=71" : "W30=61"));
    }
}

TEST(Operation, AnAcknowledgementCountsWithinTheFirst20Reads)
{
    const auto line = [](const char *message) { return error_line("check_fpga_op_ack", message); };
    const std::string late = line("FPGA didn't respond to operation setting\n");
    const std::string failed = line("Current lpctool mbox indirect operation fail \n");
    const std::string unread = error_line("lpctool_get_mbox", "Read Mbox data reg 9\n") +
                               line("Error while reading FPGA status 9\n");
    // Done and fail value, value, other values read before it, failing access, whether all is well, reads,
    // output.
    const std::tuple<uint8_t, uint8_t, uint8_t, size_t, int, bool, int, std::string> cases[] = {
        {1, 2, 1, 19, 99, true, 20, ""},
        {1, 2, 1, 20, 99, false, 21, late},
        {1, 2, 1, 22, 99, false, 22, late},
        {1, 2, 2, 19, 99, false, 20, failed},
        {1, 2, 2, 20, 99, false, 21, failed + late},
        {3, 3, 3, 0, 99, false, 1, failed},
        {1, 2, 1, 0, 1, true, 2, unread},
        {0, 2, 9, 0, 1, false, 1, unread}};
    for (const auto &[done, fail, value, others, failing, good, reads, output] : cases) {
        fpga_reg_map regs = map;
        regs.op_done_val = done, regs.op_fail_val = fail;
        fpga = {};
        fpga.values[0x20].resize(others);
        fpga.values[0x20].push_back(value);
        fpga.failures[failing] = 9;
        EXPECT_EQ(
            told(good ? 0 : DIAG_ERR_INVALID_ARG, [&] { return check_fpga_op_ack(&test_mbox, &regs, 0); }),
            output);
        EXPECT_EQ(fpga.accesses,
                  (failing == 1 ? "W21=d0 S R20! " : "W21=d0 S R20 ") + times(reads - 1, "S R20 "));
    }
}

TEST(Operation, RefusalsAccessNothing)
{
    const std::string op = "lpctool_mbox_indr_access_op", null = "Null pointers received \n";
    const std::string broker = "FPGA operations do not go through the bus broker\n";
    fpga_dev_info dev{0, {}, 4, 0, test_mbox, 0};
    uint8_t buf = 0;
    const std::tuple<std::string, std::string, std::function<uint32_t()>> cases[] = {
        {"set_fpga_mode", "Input FPGA mode is invalid\n",
         [] { return set_fpga_mode(&map.mode, &test_mbox, 2, 1); }},
        {"set_fpga_mode", broker, [] { return set_fpga_mode(&map.mode, &test_mbox, 0, 1); }},
        {"check_fpga_op_ack", null, [] { return check_fpga_op_ack(nullptr, &map, 1); }},
        {"check_fpga_op_ack", null, [] { return check_fpga_op_ack(&test_mbox, nullptr, 0); }},
        {"check_fpga_op_ack", broker, [] { return check_fpga_op_ack(&test_mbox, &map, 1); }},
        {op, "Input buffer pointer is a NULL\n",
         [&] { return lpctool_mbox_indr_access_op(0, &dev, &map, nullptr, 1, 1); }},
        {op, broker, [&] { return lpctool_mbox_indr_access_op(0, &dev, &map, &buf, 1, 1); }},
        {op, "Invalid command length 4, at most 3\n",
         [&] { return lpctool_mbox_indr_access_op(0, &dev, &map, &buf, 1, 0); }}};
    fpga = {};
    for (const auto &[function, message, call] : cases) {
        EXPECT_EQ(told(DIAG_ERR_INVALID_ARG, call), error_line(function, message));
    }
    EXPECT_EQ(fpga.accesses, "");
}

TEST(Operation, APauseLastsItsFullTimeThroughSignals)
{
    fpga = {};
    fpga.values[0x30] = {0x72};
    fpga.interruptions = 2;
    EXPECT_EQ(set_fpga_mode(&map.mode, &test_mbox, 0, 0), 0u);
    ASSERT_EQ(fpga.pauses.size(), 3u);
    EXPECT_EQ(fpga.pauses[0], 100'000u);
    EXPECT_LE(fpga.pauses[1], 70'000u) << "the interrupted pause goes on";
    EXPECT_LE(fpga.pauses[2], 40'000u);
}

} // namespace
