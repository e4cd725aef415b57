/* SPDX-License-Identifier: MIT */
#include <gtest/gtest.h>

#include "sim/tool_read.h"

using namespace diagtest;

namespace {

constexpr char read_pin[] = "gpiotool --get --chip=0 --pin=1 --pipe=FIFO";

std::vector<int> statuses(const char *command, int runs)
{
    std::vector<int> found;
    for (int i = 0; i < runs; i++) {
        const int status = run_shell(command).status;
        found.push_back(WEXITSTATUS(status));
    }
    return found;
}

TEST(Faults, BeginAfterTheGoodRunsOfTheirTool)
{
    const sim_board board;
    board.set_faults("# the second run of i2ctool and all later ones\n\ni2ctool 1 exit 7 # seven\n"
                     "lpctool 1 exit 3 once\nlpctool 3 signal 9\n");
    EXPECT_EQ(statuses("gpiotool --set --chip=0 --pin=1 --val=1", 2), (std::vector{0, 0}));
    EXPECT_EQ(statuses("i2ctool --no_data --bus=3 --addr=0x50", 3), (std::vector{0, 7, 7}));
    EXPECT_EQ(statuses("lpctool --write --addr=0x00000000 --size=b --val=", 4),
              (std::vector{0, 3, 0, 128 + 9}));
    EXPECT_EQ(board.commands().size(), 9U);
    board.clear_commands();
    EXPECT_EQ(statuses("i2ctool --no_data --bus=3 --addr=0x50", 1), std::vector{0});
}

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
        run_result run;
        EXPECT_EQ(read_through_fifo(board, read_pin, run), bytes()) << line;
        EXPECT_EQ(run.status, 2 << 8) << line;
        EXPECT_EQ(run.err, "gpiotool: faults, line 2: not a fault: " + std::string(line) + "\n");
    }
}

} // namespace
