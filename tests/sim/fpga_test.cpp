/* SPDX-License-Identifier: MIT */
// The settings of the simulated FPGA, as they show through the mailbox.
#include "support/capture.h"
#include "support/sim_board.h"

using bytes = std::vector<uint8_t>;

class Fpga : public testing::Test {
  protected:
    sim_board board;

    void set(const std::string &settings)
    {
        std::ofstream(board.folder + "/fpga.cfg") << settings;
    }

    /// What accesses of registers give: "106=1" writes, "106" reads the value that is shown; "-" has failed.
    static std::string access(const std::string &accesses)
    {
        constexpr struct mbox_info mailbox = {0x80, 0x81, 0x82, 0x83};
        std::istringstream in(accesses);
        std::ostringstream shown;
        for (std::string word; in >> word;) {
            uint32_t reg = 0, written = 0;
            uint8_t value = 0;
            const bool reads = sscanf(word.c_str(), "%x=%x", &reg, &written) == 1;
            const uint32_t status =
                reads ? lpctool_get_mbox(&mailbox, reg, &value, nullptr, nullptr, "", "", 0, 0)
                      : lpctool_set_mbox(&mailbox, reg, written, nullptr, nullptr, "", "", 0);
            if (status != 0) {
                shown << "- ";
            } else if (reads) {
                shown << std::hex << unsigned{value} << ' ';
            }
        }
        return shown.str();
    }
};

TEST_F(Fpga, AnswersAtTheToldPollAndForgetsACommandThatIsGivenUp)
{
    set("# slow\nindirect_polls=3\nmode_polls=2\noperation_polls=never\n");
    EXPECT_EQ(access("100=1 102=20 101=1 103=20 107=1 106 106"), "0 0 "); // erases a byte
    EXPECT_EQ(board.image("fpga_flash.bin", 0x20, 1), bytes{0});
    EXPECT_EQ(access("106"), "1 ");
    EXPECT_EQ(board.image("fpga_flash.bin", 0x20, 2), (bytes{0xff, 0}));
    EXPECT_EQ(access("107=1 106 106=0 106 106 106 106"), "0 0 0 0 0 ");
    EXPECT_EQ(access("408 408=a5 408 408"), "c3 0 5a ");
    EXPECT_EQ(access("400=1 402=0 407=1 406 406"), "0 0 ");
}

TEST_F(Fpga, FailsTheAccessesThatItsSettingsName)
{
    set("fail=read 0x0106 2\nfail=write 0x0200 2+\n");
    EXPECT_EQ(access("106 106=0 106 106 200=1 200=2 200=3 200"), "0 - 0 - - 1 ");
    set("fail=any any 2\n"); // new settings count anew
    EXPECT_EQ(access("200=4 200 200"), "- 4 ");
    for (const char *wrong : {"fail=read 0x0106", "fail=read 0x106 1", "fail=read any 0", "polls=1",
                              "indirect_polls=0", "indirect_status=1", "nonsense"}) {
        set(wrong);
        EXPECT_EQ(access("200"), "- ") << wrong;
    }
}
