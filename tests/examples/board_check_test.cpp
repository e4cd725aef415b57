/* SPDX-License-Identifier: MIT */
// The example program on the sample board: each fault of the board fails just the checks that meet it.
#include "support/sim_board.h"
#include "support/sim_broker.h"

class BoardCheck : public testing::Test {
  protected:
    sim_board board;

    /// The names of the checks that failed, with a reason, and the exit status if it is not 0.
    std::string failures(const std::string &broker_xml = "")
    {
        board.clear_commands();
        return run_shell("(" BOARD_CHECK " " + board.root + " " + broker_xml +
                         " </dev/null || echo status $?)" +
                         " | sed -n '/ FAILED <<<<$/{s/: Overall.*//;N;s/\\n  reason: ..*//;p;};/^status/p'")
            .out;
    }
};

// Faults that meet different checks share a run: a run starts some 400 tools.
TEST_F(BoardCheck, EachFaultFailsTheChecksThatMeetIt)
{
    const std::pair<const char *, std::string> cases[] = {
        {"nvramtool 0 exit 1\nlpctool 0 exit 3 once\n",
         "lpc registers\n"}, // start-up goes on without the record
        {"i2ctool 2 exit 1 once\nipmitool 0 garbage once\npcitool 0 exit 1\nlpctool 10 signal 9 once\n",
         "i2c eeprom, 16-bit register\nipmi device id\npci identity\npci write\nfpga indirect command\n"},
        {"i2ctool 4 silent once\ngpiotool 1 signal 9 once\nmemtool 9 short 1 once\n",
         "i2c eeprom write\ngpio pin\nmemory, big-endian\n"},
    };
    for (const auto &[faults, failed] : cases) {
        board.set_faults(faults);
        EXPECT_EQ(failures(), failed + "status 1\n");
    }
    board.set_faults("");
    std::filesystem::remove(board.folder + "/i2c/3/0x52.bin");
    EXPECT_EQ(failures(), "ipmi bridged i2c with pec\nstatus 1\n");
}

TEST_F(BoardCheck, ThroughTheBroker)
{
    const sim_broker broker({"--ack-first=50", "--double=50"});
    const std::string path = board.root + "/broker.xml";
    std::ofstream(path) << "<broker><ip>127.0.0.1</ip><PortNo>" << broker.port
                        << "</PortNo><inetfamily>ipv4</inetfamily><maxsockcnt>8</maxsockcnt>"
                           "<sock_type>udp</sock_type></broker>";
    EXPECT_EQ(failures(path), "");
}
