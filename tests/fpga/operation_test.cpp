/* SPDX-License-Identifier: MIT */
#include "fpga/board.h"

using call = std::function<uint32_t()>;

constexpr fpga_reg_map map{0x10, 0x11, 0x12, 0x13, 0x20, 0x21, 0x100, 0x200, {0x30, 0x71, 0x72, 0x61, 0x62},
                           0xd0, 0x01, 0x0f, 0x02};
const std::string op_name = "lpctool_mbox_indr_access_op";

struct operation_case {
    uint32_t op;
    uint8_t incr = 1;
    fpga_dev_info dev{0x42, {0xf8, 0xff, 0xff}, 3, 0x0c, test_mbox, incr};
    std::vector<uint8_t> buf = std::vector<uint8_t>(20, 7);

    std::string run(uint32_t status, const std::map<int, uint32_t> &failures = {}, uint32_t len = 20)
    {
        fpga = {{{0x30, {0x72}}, {0x20, {0, 0x01, 0x01}}, {0x200, {0x80, 0x81, 0x82}}, {0x203, {0x83}}},
                failures};
        return told(status, [&] { return lpctool_mbox_indr_access_op(op, &dev, &map, buf.data(), len, 0); });
    }
    /// The accesses that move the bytes of a chunk.
    std::string moves(uint32_t count) const
    {
        std::ostringstream all;
        for (uint32_t i = 0; i < count && op < 2; i++) {
            all << std::hex << (op == 0 ? "W" : "R") << (op == 0 ? 0x100 : 0x200) + incr * i
                << (op == 0 ? "=7 " : " ");
        }
        return all.str();
    }
};

TEST(Operation, ChunksAccessByAccess)
{
    const std::string start = "W30=71 S R30 W10=42 W12=c ", cmd = "W13=f8 W14=ff W15=ff ", reset = "W20=f ";
    for (uint32_t n = 0; n < 6; n++) {
        operation_case c{.op = n / 2, .incr = static_cast<uint8_t>(n % 2)};
        const auto transfer = [&](const std::string &acknowledged, uint32_t count) {
            return c.op == 0 ? c.moves(count) + acknowledged : acknowledged + c.moves(count);
        };
        EXPECT_EQ(c.run(0), "");
        EXPECT_EQ(fpga.accesses, start + "W11=10 " + cmd + transfer("W21=d0 S R20 S R20 ", 16) + reset +
                                     "W11=4 " + (c.incr != 0 ? "W13=8 W14=0 W15=0 " : cmd) +
                                     transfer("W21=d0 S R20 ", 4) + reset);
        EXPECT_TRUE(c.dev.cmd[0] == (c.incr != 0 ? 0x18 : 0xf8) && c.dev.cmd[2] == (c.incr != 0 ? 0 : 0xff));
        const std::vector<uint8_t> ends{c.buf[0], c.buf[1], c.buf[3], c.buf[16], c.buf[19]};
        EXPECT_EQ(ends, c.op != 1     ? std::vector<uint8_t>({7, 7, 7, 7, 7})
                        : c.incr != 0 ? std::vector<uint8_t>({0x80, 7, 0x83, 0x81, 0x83})
                                      : std::vector<uint8_t>({0x80, 0x81, 0x82, 0x82, 0x82}));
    }
    EXPECT_EQ(operation_case{.op = 0}.run(0, {}, 0), "");
    EXPECT_EQ(fpga.accesses, start);
}

TEST(Operation, EachFailedAccessHasItsMessageAndStatus)
{
    const std::string reset = "Unable to reset FPGA flag \n",
                      unwritten = "Failed to write to FPGA write register \n",
                      unread = "Failed to Read from FPGA read buffer \n";
    // The operation, from which access to which it fails, the message and the last accesses.
    const std::tuple<uint32_t, int, int, std::string, std::string> cases[] = {
        {0, 0, 0, "unable to set FPGA in to test mode\n", "W30=71! "},
        {0, 2, 2, "Failed to write dev id\n", "W10=42! "},
        {0, 3, 3, "Failed to write to op_code register\n", "W12=c! "},
        {0, 4, 4, "Failed to write to data length register\n", "W11=10! "},
        {0, 7, 7, "Failed to write to cmd register 21 \n", "W15=ff! "},
        {0, 9, 9, unwritten, "W101=7! W20=f "},
        {0, 9, 10, unwritten, "W101=7! W20=f! "},
        {0, 27, 27, reset, "W20=f! "},
        {1, 12, 12, unread, "R201! W20=f "},
        {1, 12, 13, unread, "R201! W20=f! "},
    };
    for (const auto &[op, from, to, message, last] : cases) {
        operation_case c{.op = op};
        const std::string output =
            c.run(op == 1 ? DIAG_ERR_ACCESS : DIAG_ERR_INVALID_ARG, {{from, 5}, {to, 5}});
        EXPECT_NE(output.find(error_line(op_name, message)), std::string::npos) << output;
        EXPECT_EQ(output.ends_with(error_line(op_name, reset)), last.ends_with("W20=f! "));
        EXPECT_TRUE((" " + fpga.accesses).ends_with(" " + last)) << fpga.accesses;
        EXPECT_EQ(c.dev.cmd[0], 0xf8) << "only a completed chunk advances the address";
    }
}

TEST(Operation, AModeAndTheEndOfAnOperationAreAcknowledgedInTime)
{
    const std::string name = "check_fpga_op_ack",
                      unread = error_line("lpctool_get_mbox", "Read Mbox data reg 9\n"),
                      unacknowledged = unread + error_line(name, "Error while reading FPGA status 9\n"),
                      late = error_line(name, "FPGA didn't respond to operation setting\n"),
                      failed = error_line(name, "Current lpctool mbox indirect operation fail \n"),
                      late_mode = error_line("set_fpga_mode", "FPGA didn't respond to mode setting\n"),
                      unread_mode = unread + error_line("set_fpga_mode", "Reading FPGA status 9\n");
    // A mode, or -1 and the values that end an operation; the value that is read behind so many others, the
    // read that fails (0: none), the reads, whether all is well, and what is told.
    const std::tuple<int, uint8_t, uint8_t, size_t, uint8_t, int, int, bool, std::string> cases[] = {
        {0, 0, 0, 0, 0x72, 0, 1, true, ""},
        {1, 0, 0, 20, 0x62, 0, 21, true, ""},
        {1, 0, 0, 21, 0x62, 0, 21, false, late_mode},
        {0, 0, 0, 1, 0x72, 2, 3, false, unread_mode},
        {-1, 1, 2, 19, 1, 0, 20, true, ""},
        {-1, 1, 2, 20, 1, 0, 21, false, late},
        {-1, 1, 2, 22, 1, 0, 22, false, late},
        {-1, 1, 2, 19, 2, 0, 20, false, failed},
        {-1, 1, 2, 20, 2, 0, 21, false, failed + late},
        {-1, 3, 3, 0, 3, 0, 1, false, failed},
        {-1, 1, 2, 0, 1, 1, 2, true, unacknowledged},
        {-1, 0, 2, 0, 9, 1, 1, false, unacknowledged},
    };
    for (const auto &[mode, done, fail, others, value, failing, reads, good, output] : cases) {
        std::vector<uint8_t> values(others);
        values.push_back(value);
        fpga = {{{0x20, values}, {0x30, values}}, {{failing != 0 ? failing : 99, 9}}};
        fpga_reg_map regs = map;
        regs.op_done_val = done, regs.op_fail_val = fail;
        const auto run = [m = mode, &regs] {
            return m < 0 ? check_fpga_op_ack(&test_mbox, &regs, 0)
                         : set_fpga_mode(&map.mode, &test_mbox, static_cast<uint32_t>(m), 0);
        };
        EXPECT_EQ(told(good ? 0 : DIAG_ERR_INVALID_ARG, run), output);
        std::string accesses = mode < 0 ? "W21=d0 " : mode == 0 ? "W30=71 " : "W30=61 ";
        for (int n = 1; n <= reads; n++) {
            accesses += (mode < 0 ? "S R20"s : "S R30"s) + (n == failing ? "! " : " ");
        }
        EXPECT_EQ(fpga.accesses, accesses);
    }
}

TEST(Operation, RefusalsAccessNothing)
{
    const std::string null = "Null pointers received \n",
                      broker = "FPGA operations do not go through the bus broker\n";
    uint8_t buf = 0;
    const auto op = [&](uint8_t *data, uint8_t busbroker) -> call {
        return [=] {
            fpga_dev_info dev{0, {}, 4, 0, test_mbox, 0};
            return lpctool_mbox_indr_access_op(0, &dev, &map, data, 1, busbroker);
        };
    };
    const std::tuple<std::string, std::string, call> cases[] = {
        {"set_fpga_mode", "Input FPGA mode is invalid\n",
         [] { return set_fpga_mode(&map.mode, &test_mbox, 2, 1); }},
        {"set_fpga_mode", broker, [] { return set_fpga_mode(&map.mode, &test_mbox, 0, 1); }},
        {"check_fpga_op_ack", null, [] { return check_fpga_op_ack(nullptr, &map, 1); }},
        {"check_fpga_op_ack", null, [] { return check_fpga_op_ack(&test_mbox, nullptr, 0); }},
        {"check_fpga_op_ack", broker, [] { return check_fpga_op_ack(&test_mbox, &map, 1); }},
        {op_name, "Input buffer pointer is a NULL\n", op(nullptr, 1)},
        {op_name, broker, op(&buf, 1)},
        {op_name, "Invalid command length 4, at most 3\n", op(&buf, 0)}};
    fpga = {};
    for (const auto &[function, message, run] : cases) {
        EXPECT_EQ(told(DIAG_ERR_INVALID_ARG, run), error_line(function, message));
    }
    EXPECT_EQ(fpga.accesses, "");
}

TEST(Operation, APauseLastsItsFullTimeThroughSignals)
{
    fpga = {.values = {{0x30, {0x72}}}, .interruptions = 2};
    EXPECT_EQ(set_fpga_mode(&map.mode, &test_mbox, 0, 0), 0u);
    ASSERT_EQ(fpga.pauses.size(), 3u);
    EXPECT_EQ(fpga.pauses[0], 100'000u);
    EXPECT_LE(fpga.pauses[1], 70'000u) << "the interrupted pause goes on";
    EXPECT_LE(fpga.pauses[2], 40'000u);
}
