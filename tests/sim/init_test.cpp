/* SPDX-License-Identifier: MIT */
#include <gtest/gtest.h>

#include "support/sim_board.h"

using namespace diagtest;

using bytes = std::vector<uint8_t>;

namespace {

TEST(Init, KeepsWhatAFolderHolds)
{
    const sim_board board;
    board.set_image("gpio/0.bin", 0, {9});
    const run_result refused = run_shell("boardsim init " + board.folder);
    EXPECT_EQ(refused.status, 1 << 8);
    EXPECT_EQ(refused.err, "boardsim: " + board.folder +
                               " is not empty; --force writes the sample board over what it holds\n");
    EXPECT_EQ(board.image("gpio/0.bin", 0, 1), bytes{9});
    EXPECT_EQ(run_shell("boardsim init --force " + board.folder).status, 0);
    EXPECT_EQ(board.image("gpio/0.bin", 0, 2), (bytes{0, 1}));
    EXPECT_EQ(run_shell("boardsim init").status, 2 << 8);
    EXPECT_EQ(run_shell("boardsim init /dev/null/board").status, 1 << 8);
}

TEST(Init, AToolWithoutABoardTellsSo)
{
    const run_result run = run_shell("unset BOARDSIM_DIR; " BOARDSIM_BIN "/nvramtool --query --pipe=/tmp/p");
    EXPECT_EQ(run.status, 1 << 8);
    EXPECT_EQ(run.err, "nvramtool: BOARDSIM_DIR names no board; make one with: boardsim init DIR\n");
}

TEST(Init, RunsAtTheSameTimeLoseNothing)
{
    const sim_board board;
    // Each of these runs reads and writes; with the lock every one of them is counted and whole.
    board.set_faults("gpiotool 19 exit 5");
    const run_result run = run_shell("for i in 1 2 3 4 5 6 7 8 9 10; do\n"
                                     " (gpiotool --set --chip=0 --pin=$i --val=7 || echo failed) &\n"
                                     " (gpiotool --set --chip=0 --pin=$i --val=7 || echo failed) &\n"
                                     "done; wait");
    EXPECT_EQ(run.out, "failed\n");
    EXPECT_EQ(board.commands().size(), 20U);
    EXPECT_EQ(board.image("gpio/0.bin", 1, 10), bytes(10, 7));
}

} // namespace
