/* SPDX-License-Identifier: MIT */
// The example program on the sample board: each fault of the board fails just the checks that meet it.
#include <set>

#include "support/sim_board.h"
#include "support/sim_broker.h"

using names = std::set<std::string>;

class BoardCheck : public testing::Test {
  protected:
    sim_board board;

    names failed_checks(const std::string &broker_xml = "")
    {
        board.clear_commands();
        const auto result = run_shell(BOARD_CHECK " " + board.root + " " + broker_xml + " </dev/null");
        names failed;
        std::istringstream lines(result.out);
        bool is_reason_due = false;
        for (std::string line; std::getline(lines, line);) {
            EXPECT_EQ(line.rfind("  reason: ", 0) == 0 && line.size() > 10, is_reason_due) << result.out;
            is_reason_due = line.ends_with(" FAILED <<<<");
            if (is_reason_due) {
                failed.insert(line.substr(0, line.find(": Overall")));
            }
        }
        EXPECT_EQ(result.status, failed.empty() ? 0 : 1 << 8) << result.out << result.err;
        return failed;
    }
};

// Faults that meet different checks share a run: a run starts some 400 tools.
TEST_F(BoardCheck, EachFaultFailsTheChecksThatMeetIt)
{
    struct {
        const char *faults;
        names failed;
    } const cases[] = {
        {"nvramtool 0 exit 1\n" // start-up goes on without the record
         "lpctool 0 exit 3 once\n",
         {"lpc registers"}},
        {"i2ctool 2 exit 1 once\n"
         "ipmitool 0 garbage once\n"
         "pcitool 0 exit 1\n"
         "lpctool 10 signal 9 once\n",
         {"i2c eeprom, 16-bit register", "ipmi device id", "pci identity", "pci write",
          "fpga indirect command"}},
        {"i2ctool 4 silent once\n"
         "gpiotool 1 signal 9 once\n"
         "memtool 9 short 1 once\n",
         {"i2c eeprom write", "gpio pin", "memory, big-endian"}},
    };
    for (const auto &c : cases) {
        board.set_faults(c.faults);
        EXPECT_EQ(failed_checks(), c.failed) << c.faults;
    }
    board.set_faults("");
    std::filesystem::remove(board.folder + "/i2c/3/0x52.bin");
    EXPECT_EQ(failed_checks(), names{"ipmi bridged i2c with pec"});
}

TEST_F(BoardCheck, ThroughTheBroker)
{
    const sim_broker broker({"--ack-first=50", "--double=50"});
    const std::string path = board.root + "/broker.xml";
    std::ofstream(path) << "<broker><ip>127.0.0.1</ip><PortNo>" << broker.port
                        << "</PortNo><inetfamily>ipv4</inetfamily><maxsockcnt>8</maxsockcnt>"
                           "<sock_type>udp</sock_type></broker>";
    EXPECT_EQ(failed_checks(path), names{});
}
