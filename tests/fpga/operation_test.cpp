/* SPDX-License-Identifier: MIT */
#include <gtest/gtest.h>
#include <numeric>

#include "fpga/board.h"
#include "support/capture.h"

using diagtest::console_of;
using diagtest::error_line;

namespace {

constexpr fpga_reg_map map{0x10, 0x11, 0x12, 0x13, 0x20, 0x21, 0x100, 0x200, {0x30, 0x71, 0x72, 0x61, 0x62},
                           0xd0, 0x01, 0x0f, 0x02};

struct operation_case {
    uint32_t op = 0;
    fpga_dev_info dev{0x42, {0xf8, 0xff, 0xff}, 3, 0x0c, test_mbox, 1};
    std::vector<uint8_t> buf = std::vector<uint8_t>(20);

    std::string run(uint32_t expected, uint32_t len = 20, uint8_t busbroker = 0)
    {
        return console_of([&] {
            EXPECT_EQ(lpctool_mbox_indr_access_op(op, &dev, &map, buf.data(), len, busbroker), expected);
        });
    }
};

void ready()
{
    fpga = {};
    fpga.values = {{0x30, {0x72}}, {0x20, {0, 0x01, 0x01}}};
}

const std::string start = "W30=71 S R30 W10=42 W12=c ";

TEST(Operation, ChunksAccessByAccess)
{
    for (uint32_t n = 0; n < 6; n++) {
        operation_case c{.op = n / 2};
        c.dev.addr_incr = n % 2 != 0;
        const bool incr = c.dev.addr_incr != 0;
        std::iota(c.buf.begin(), c.buf.end(), uint8_t{1});
        const std::vector<uint8_t> bytes = c.buf;
        ready();
        std::string buffers[2];
        for (uint32_t i = 0; i < 20; i++) {
            const uint32_t offset = incr ? i % 16 : 0;
            if (c.op == 1) {
                fpga.values[0x200 + offset].push_back(static_cast<uint8_t>(0x80 + i));
                buffers[i / 16] +=
                    "R" + (incr ? std::string("20") + "0123456789abcdef"[offset] : "200") + " ";
            } else if (c.op == 0) {
                buffers[i / 16] += written(0x100 + offset, {bytes[i]});
            }
        }
        const auto chunk = [&](uint8_t len, const std::string &cmd, const std::string &polls,
                               const std::string &buffer) {
            const std::string ack = "W21=d0 " + polls;
            return written(0x11, {len}) + cmd + (c.op == 0 ? buffer + ack : ack + buffer) + "W20=f ";
        };
        EXPECT_EQ(c.run(0), "");
        const std::string next = incr ? written(0x13, {8, 0, 0}) : written(0x13, {0xf8, 0xff, 0xff});
        EXPECT_EQ(fpga.accesses,
                  start + chunk(16, written(0x13, {0xf8, 0xff, 0xff}), "S R20 S R20 ", buffers[0]) +
                      chunk(4, next, "S R20 ", buffers[1]));
        EXPECT_TRUE(c.dev.cmd[0] == (incr ? 0x18 : 0xf8) && c.dev.cmd[2] == (incr ? 0 : 0xff));
        EXPECT_EQ(c.buf[0] == 0x80 && c.buf[19] == 0x93, c.op == 1);
        EXPECT_EQ(c.buf == bytes, c.op != 1);
    }
    ready();
    EXPECT_EQ(operation_case{}.run(0, 0), "");
    EXPECT_EQ(fpga.accesses, start);
}

TEST(Operation, EachFailedAccessHasItsMessageAndStatus)
{
    const std::string reset = "Unable to reset FPGA flag \n";
    const struct {
        uint32_t op;
        std::vector<int> failing;
        std::vector<std::string> messages; // behind those of the mailbox and the functions called
        int accesses;
        uint32_t status;
    } cases[] = {
        {0, {0}, {"unable to set FPGA in to test mode\n"}, 1, DIAG_ERR_INVALID_ARG},
        {0, {2}, {"Failed to write dev id\n"}, 3, DIAG_ERR_INVALID_ARG},
        {0, {3}, {"Failed to write to op_code register\n"}, 4, DIAG_ERR_INVALID_ARG},
        {0, {4}, {"Failed to write to data length register\n"}, 5, DIAG_ERR_INVALID_ARG},
        {0, {7}, {"Failed to write to cmd register 21 \n"}, 8, DIAG_ERR_INVALID_ARG},
        {0, {9}, {"Failed to write to FPGA write register \n"}, 11, DIAG_ERR_INVALID_ARG},
        {0, {9, 10}, {"Failed to write to FPGA write register \n", reset}, 11, DIAG_ERR_INVALID_ARG},
        {0, {24}, {}, 25, DIAG_ERR_INVALID_ARG},
        {0, {27}, {reset}, 28, DIAG_ERR_INVALID_ARG},
        {1, {12}, {"Failed to Read from FPGA read buffer \n"}, 14, DIAG_ERR_ACCESS},
        {1, {12, 13}, {"Failed to Read from FPGA read buffer \n", reset}, 14, DIAG_ERR_ACCESS},
        {1, {27}, {reset}, 28, DIAG_ERR_INVALID_ARG},
    };
    for (const auto &c : cases) {
        ready();
        for (const int access : c.failing) {
            fpga.failures[access] = 5;
        }
        operation_case run{.op = c.op};
        const auto told = run.run(c.status);
        size_t at = 0;
        for (const auto &message : c.messages) {
            at = told.find(error_line("lpctool_mbox_indr_access_op", message), at);
            EXPECT_NE(at, std::string::npos) << told;
        }
        EXPECT_EQ(fpga.count, c.accesses) << told << fpga.accesses;
        const bool resets = c.accesses == c.failing[0] + 2 && c.failing.size() == 1;
        EXPECT_TRUE(fpga.accesses.ends_with(resets ? "W20=f " : "! ")) << fpga.accesses;
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
        size_t read_at; // the read that finds the acknowledgement, counted from 1
        int failing;    // the access that fails, 0 for none
        std::string told;
    } cases[] = {{0, 1, 0, ""}, {1, 21, 0, ""}, {1, 22, 0, late}, {0, 3, 2, unread}};
    for (const auto &c : cases) {
        fpga = {};
        fpga.values[0x30].resize(c.read_at - (c.failing != 0 ? 2 : 1));
        fpga.values[0x30].push_back(c.mode == 0 ? 0x72 : 0x62);
        if (c.failing != 0) {
            fpga.failures[c.failing] = 1234;
        }
        EXPECT_EQ(console_of([&] {
                      EXPECT_EQ(set_fpga_mode(&map.mode, &test_mbox, c.mode, 0),
                                c.told.empty() ? 0 : DIAG_ERR_INVALID_ARG);
                  }),
                  c.told);
        EXPECT_EQ(fpga.count, std::min<int>(static_cast<int>(c.read_at), 21) + 1);
        EXPECT_TRUE(fpga.accesses.starts_with(c.mode == 0 ? "W30=71 S R30" : "W30=61 S R30"));
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
        int read_at; // the read that finds the value, counted from 1
        int failing; // the read that fails
        uint32_t status;
        int reads;
        std::string told;
    } cases[] = {
        {1, 2, 1, 20, 0, 0, 20, ""},
        {1, 2, 1, 21, 0, DIAG_ERR_INVALID_ARG, 21, late},
        {1, 2, 1, 23, 0, DIAG_ERR_INVALID_ARG, 22, late},
        {1, 2, 2, 20, 0, DIAG_ERR_INVALID_ARG, 20, failed},
        {1, 2, 2, 21, 0, DIAG_ERR_INVALID_ARG, 21, failed + late},
        {3, 3, 3, 1, 0, DIAG_ERR_INVALID_ARG, 1, failed},
        {1, 2, 1, 2, 1, 0, 2, unread},                    // a failed read is forgotten
        {0, 2, 9, 2, 1, DIAG_ERR_INVALID_ARG, 1, unread}, // the status is 0 until a read succeeds
    };
    for (const auto &c : cases) {
        fpga_reg_map regs = map;
        regs.op_done_val = c.done;
        regs.op_fail_val = c.fail;
        fpga = {};
        fpga.values[0x20].resize(static_cast<size_t>(c.read_at - (c.failing != 0 ? 2 : 1)));
        fpga.values[0x20].push_back(c.value);
        if (c.failing != 0) {
            fpga.failures[c.failing] = 9;
        }
        EXPECT_EQ(console_of([&] { EXPECT_EQ(check_fpga_op_ack(&test_mbox, &regs, 0), c.status); }), c.told);
        EXPECT_EQ(fpga.accesses, "W21=d0 " + (c.failing != 0 ? "S R20! " + times(c.reads - 1, "S R20 ")
                                                             : times(c.reads, "S R20 ")));
    }
}

TEST(Operation, RefusalsAccessNothing)
{
    fpga = {};
    const auto refused = [](const char *function, const char *message, auto call) {
        EXPECT_EQ(console_of([&] { EXPECT_EQ(call(), DIAG_ERR_INVALID_ARG); }),
                  error_line(function, message));
    };
    const char *const broker = "FPGA operations do not go through the bus broker\n";
    const char *const access_op = "lpctool_mbox_indr_access_op";
    fpga_dev_info dev{0, {}, 4, 0, test_mbox, 0};
    uint8_t buf = 0;
    refused("set_fpga_mode", "Input FPGA mode is invalid\n",
            [] { return set_fpga_mode(&map.mode, &test_mbox, 2, 1); });
    refused("set_fpga_mode", broker, [] { return set_fpga_mode(&map.mode, &test_mbox, 0, 1); });
    refused("check_fpga_op_ack", "Null pointers received \n",
            [] { return check_fpga_op_ack(nullptr, &map, 1); });
    refused("check_fpga_op_ack", "Null pointers received \n",
            [] { return check_fpga_op_ack(&test_mbox, nullptr, 0); });
    refused("check_fpga_op_ack", broker, [] { return check_fpga_op_ack(&test_mbox, &map, 1); });
    refused(access_op, "Input buffer pointer is a NULL\n",
            [&] { return lpctool_mbox_indr_access_op(0, &dev, &map, nullptr, 1, 1); });
    refused(access_op, broker, [&] { return lpctool_mbox_indr_access_op(0, &dev, &map, &buf, 1, 1); });
    refused(access_op, "Invalid command length 4, at most 3\n",
            [&] { return lpctool_mbox_indr_access_op(0, &dev, &map, &buf, 1, 0); });
    EXPECT_EQ(fpga.accesses, "");
}

TEST(Operation, APauseLastsItsFullTimeThroughSignals)
{
    fpga = {};
    fpga.values[0x30] = {0x72};
    fpga.interruptions = 3;
    timespec before{}, after{};
    clock_gettime(CLOCK_MONOTONIC, &before);
    EXPECT_EQ(set_fpga_mode(&map.mode, &test_mbox, 0, 0), 0u);
    clock_gettime(CLOCK_MONOTONIC, &after);
    EXPECT_EQ(fpga.accesses, "W30=71 S R30 ");
    ASSERT_EQ(fpga.deadlines.size(), 4u);
    const auto ns = [](const timespec &t) { return t.tv_sec * 1'000'000'000LL + t.tv_nsec; };
    for (const timespec &deadline : fpga.deadlines) {
        EXPECT_EQ(ns(deadline), ns(fpga.deadlines[0]));
    }
    EXPECT_GE(ns(fpga.deadlines[0]), ns(before) + 100'000'000);
    EXPECT_LE(ns(fpga.deadlines[0]), ns(after) + 100'000'000);
}

} // namespace
