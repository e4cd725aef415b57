/* SPDX-License-Identifier: MIT */
#include <gtest/gtest.h>

#include "sim/tool_read.h"

using namespace diagtest;

namespace {

struct request_case {
    const char *command;
    const char *out;
};

TEST(Ipmi, ADeviceThatDemandsPecTakesOnlyTheRightOne)
{
    const sim_board board;
    board.set_image("i2c/3/0x50.pec", 0, {});
    const request_case cases[] = {
        {"ipmitool raw 0x3a 0x01 0x03 0xa0 0x00 0x40 0x02 0x18",
         "ipmitool: packet error code 0x18, expected 0x1d\n"},
        {"ipmitool raw 0x3a 0x01 0x03 0xa0 0x00 0x40",
         "ipmitool: device 0xa0: a write without a packet error code\n"},
        {"ipmitool raw 0x38 0x3 0x3 0x50 0x40 0x1",
         "ipmitool: device 0x50 takes no write without a packet error code\n"},
    };
    for (const request_case &c : cases) {
        const run_result run = run_shell(c.command);
        EXPECT_EQ(run.status, 1 << 8) << c.command;
        EXPECT_EQ(run.err, c.out);
        EXPECT_EQ(run.out, "");
    }
    EXPECT_EQ(board.image("i2c/3/0x50.bin", 0x40, 2), (bytes{0x40, 0x41}));
    EXPECT_EQ(run_shell("ipmitool raw 0x3a 0x01 0x03 0xa0 0x00 0x10  0x01 0x18 1>/dev/null").status, 0);
    EXPECT_EQ(board.image("i2c/3/0x50.bin", 0x10, 2), (bytes{0x01, 'E'})); // of "... SAMPLE EEPROM"
}

TEST(Ipmi, RefusesWhatTheControllerDoesNotKnow)
{
    const sim_board board;
    struct {
        const char *command;
        int status;
    } const cases[] = {
        {"ipmitool sdr", 2},
        {"ipmitool raw 0x06", 2},
        {"ipmitool raw 0x06 0x001", 2},
        {"ipmitool raw 0x6 0x01 ", 2},
        {"ipmitool raw 6 1", 2},
        {"ipmitool raw 0x38 0x2 0x3 0x50 0x40 0x100", 2},
        {"ipmitool raw 0x3a 0x1 0x3 0xa0 0x1 0x40", 2},
        {"ipmitool raw 0x06 0x02", 1},
        {"ipmitool raw 0x06 0x01 0x00", 1},
        {"ipmitool raw 0x38 0x2 0x3 0x50 0x40", 1},
        {"ipmitool raw 0x38 0x2 0x3 0xa0 0x40 0x1", 1},
        {"ipmitool raw 0x38 0x2 0x3 0x50 0xff 0x2", 1},
        {"ipmitool raw 0x3a 0x01 0x03 0xa1 0x01 0x40", 1},
        {"ipmitool raw 0x3a 0x01 0x03 0x50 0x01 0x40", 1},
        {"ipmitool raw 0x3a 0x01 0x03 0xa2 0x01 0x40", 1},
    };
    for (const auto &c : cases) {
        const run_result run = run_shell(c.command);
        EXPECT_EQ(run.status, c.status << 8) << c.command;
        EXPECT_EQ(run.out, "") << c.command;
        EXPECT_NE(run.err, "") << c.command;
    }
    board.remove_image("bmc.bin");
    EXPECT_EQ(run_shell("ipmitool raw 0x38 0x2 0x3 0x50 0x40 0x1").err,
              "ipmitool: no such device: bmc.bin: No such file or directory\n");
}

} // namespace
