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
    const std::string first_write = tail +
                                    "W104=7 W105=7 W106=7 W107=7 W108=7 W109=7 W10a=7 W10b=7 W10c=7 W10d=7 "
                                    "W10e=7 W10f=7 ";
    const std::string first_read =
        "R200 R201 R202 R203 R204 R205 R206 R207 R208 R209 R20a R20b R20c R20d R20e R20f ";
    const std::string moves[3][2][2] = {
        {{times(16, "W100=7 "), times(4, "W100=7 ")}, {first_write, tail}},
        {{times(16, "R200 "), times(4, "R200 ")}, {first_read, "R200 R201 R202 R203 "}},
        {}};
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
    const std::string reset = "Unable to reset FPGA flag \n",
                      write = "Failed to write to FPGA write register \n";
    const std::string read = "Failed to Read from FPGA read buffer \n";
    const struct {
        uint32_t op;
        int access; // that fails
        bool reset_fails;
        std::string message;
        std::string last;
    } cases[] = {{0, 0, false, "unable to set FPGA in to test mode\n", "W30=71! "},
                 {0, 2, false, "Failed to write dev id\n", "W10=42! "},
                 {0, 3, false, "Failed to write to op_code register\n", "W12=c! "},
                 {0, 4, false, "Failed to write to data length register\n", "W11=10! "},
                 {0, 7, false, "Failed to write to cmd register 21 \n", "W15=ff! "},
                 {0, 9, false, write, "W101=7! W20=f "},
                 {0, 9, true, write, "W101=7! W20=f! "},
                 {0, 24, false, "", "W21=d0! "},
                 {0, 27, false, reset, "W20=f! "},
                 {1, 12, false, read, "R201! W20=f "},
                 {1, 12, true, read, "R201! W20=f! "}};
    for (const auto &c : cases) {
        fpga = {};
        fpga.failures[c.access] = fpga.failures[c.reset_fails ? c.access + 1 : c.access] = 5;
        operation_case run{.op = c.op};
        const std::string output = run.run(c.op == 1 ? DIAG_ERR_ACCESS : DIAG_ERR_INVALID_ARG);
        const size_t at =
            output.find(c.message.empty() ? "" : error_line("lpctool_mbox_indr_access_op", c.message));
        EXPECT_NE(at, std::string::npos) << output;
        EXPECT_EQ(output.ends_with(error_line("lpctool_mbox_indr_access_op", reset)),
                  c.reset_fails || c.access == 27);
        EXPECT_TRUE(fpga.accesses.ends_with(" " + c.last) || fpga.accesses == c.last) << fpga.accesses;
        EXPECT_EQ(run.dev.cmd[0], 0xf8) << "only a completed chunk advances the address";
    }
}

TEST(Operation, TheModeIsAcknowledgedInTimeAndAFailedReadStays)
{
    const std::string late = error_line("set_fpga_mode", "FPGA didn't respond to mode setting\n");
    const std::string unread = error_line("lpctool_get_mbox", "Read Mbox data reg 4d2\n") +
                               error_line("set_fpga_mode", "Reading FPGA status 1234\n");
    const struct {
        uint32_t mode;
        size_t other_values; // read before the acknowledgement
        int failing;         // the access that fails
        std::string told;
        int accesses;
    } cases[] = {{0, 0, 0, "", 2}, {1, 20, 0, "", 22}, {1, 21, 0, late, 22}, {0, 1, 2, unread, 4}};
    for (const auto &c : cases) {
        fpga = {};
        fpga.values[0x30].resize(c.other_values);
        fpga.values[0x30].push_back(c.mode == 0 ? 0x72 : 0x62);
        if (c.failing != 0) {
            fpga.failures[c.failing] = 1234;
        }
        EXPECT_EQ(told(c.told.empty() ? 0 : DIAG_ERR_INVALID_ARG,
                       [&] { return set_fpga_mode(&map.mode, &test_mbox, c.mode, 0); }),
                  c.told);
        EXPECT_EQ(fpga.count, c.accesses);
        EXPECT_TRUE(fpga.accesses.starts_with(c.mode == 0 ? "W30=71" : "W30=61"));
    }
}

TEST(Operation, AnAcknowledgementCountsWithinTheFirst20Reads)
{
    const auto line = [](const char *message) { return error_line("check_fpga_op_ack", message); };
    const std::string late = line("FPGA didn't respond to operation setting\n");
    const std::string failed = line("Current lpctool mbox indirect operation fail \n");
    const std::string unread = error_line("lpctool_get_mbox", "Read Mbox data reg 9\n") +
                               line("Error while reading FPGA status 9\n");
    const struct {
        uint8_t done, fail, value;
        size_t other_values; // read before the value
        bool first_fails;
        uint32_t status;
        int reads;
        std::string told;
    } cases[] = {{1, 2, 1, 19, false, 0, 20, ""},
                 {1, 2, 1, 20, false, DIAG_ERR_INVALID_ARG, 21, late},
                 {1, 2, 1, 22, false, DIAG_ERR_INVALID_ARG, 22, late},
                 {1, 2, 2, 19, false, DIAG_ERR_INVALID_ARG, 20, failed},
                 {1, 2, 2, 20, false, DIAG_ERR_INVALID_ARG, 21, failed + late},
                 {3, 3, 3, 0, false, DIAG_ERR_INVALID_ARG, 1, failed},
                 {1, 2, 1, 0, true, 0, 2, unread},
                 {0, 2, 9, 0, true, DIAG_ERR_INVALID_ARG, 1, unread}}; // the status is 0 until it is read
    for (const auto &c : cases) {
        fpga_reg_map regs = map;
        regs.op_done_val = c.done, regs.op_fail_val = c.fail;
        fpga = {};
        fpga.values[0x20].resize(c.other_values);
        fpga.values[0x20].push_back(c.value);
        if (c.first_fails) {
            fpga.failures[1] = 9;
        }
        EXPECT_EQ(told(c.status, [&] { return check_fpga_op_ack(&test_mbox, &regs, 0); }), c.told);
        EXPECT_EQ(fpga.accesses,
                  (c.first_fails ? "W21=d0 S R20! " : "W21=d0 S R20 ") + times(c.reads - 1, "S R20 "));
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
    fpga.interruptions = 3;
    timespec times[2];
    clock_gettime(CLOCK_MONOTONIC, &times[0]);
    EXPECT_EQ(set_fpga_mode(&map.mode, &test_mbox, 0, 0), 0u);
    clock_gettime(CLOCK_MONOTONIC, &times[1]);
    ASSERT_EQ(fpga.deadlines.size(), 4u);
    const auto ns = [](const timespec &t) { return t.tv_sec * 1'000'000'000LL + t.tv_nsec; };
    EXPECT_EQ(ns(fpga.deadlines[3]), ns(fpga.deadlines[0])) << "the interrupted pause goes on to its end";
    EXPECT_GE(ns(fpga.deadlines[0]), ns(times[0]) + 100'000'000);
    EXPECT_LE(ns(fpga.deadlines[0]), ns(times[1]) + 100'000'000);
}

} // namespace
