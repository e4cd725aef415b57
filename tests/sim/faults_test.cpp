/* SPDX-License-Identifier: MIT */
#include <gtest/gtest.h>

#include "support/sim_board.h"

using namespace diagtest;

namespace {

TEST(Faults, ALateToolHoldsUpNobodyElse)
{
    const sim_board board;
    // The late run would outlast this test's deadline; the others go past it.
    board.set_faults("i2ctool 0 late 300000 once\ni2ctool 1 late 1");
    const run_result run = run_shell("i2ctool --write --bus=3 --addr=0x50 --width=8 --reg=0x40 --val=0x02 &\n"
                                     "until [ -e $BOARDSIM_DIR/commands.log ]; do sleep 0.01; done\n"
                                     "i2ctool --write --bus=3 --addr=0x50 --width=8 --reg=0x41 --val=0x03\n"
                                     "ipmitool raw 0x38 0x2 0x3 0x50 0x40 0x2\nkill $!");
    EXPECT_EQ(run.out, " 40 03\n");
    EXPECT_EQ(run.status, 0) << run.err;
}

TEST(Faults, AMalformedLineIsTold)
{
    const sim_board board;
    for (const char *line :
         {"i2ctool 0", "i2ctol 0 silent", "i2ctool x silent", "i2ctool 0 exit", "i2ctool 0 exit 256",
          "i2ctool 0 silent twice", "i2ctool 0 exit 1 once more", "i2ctool -1 silent", "i2ctool 0 garbage"}) {
        board.set_faults("\n" + std::string(line) + "\n");
        const run_result run = run_shell("gpiotool --set --chip=0 --pin=1 --val=9");
        EXPECT_EQ(run.status, 2 << 8) << line;
        EXPECT_EQ(run.err, "gpiotool: faults, line 2: not a fault: " + std::string(line) + "\n");
        EXPECT_EQ(board.image("gpio/0.bin", 1, 1), std::vector<uint8_t>{1});
    }
}

} // namespace
