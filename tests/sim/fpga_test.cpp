/* SPDX-License-Identifier: MIT */
// The settings of the simulated FPGA, as they show through the mailbox.
#include <fstream>
#include <optional>

#include "sim/fpga.h"
#include "support/capture.h"
#include "support/sim_board.h"

using namespace diagtest;

using bytes = std::vector<uint8_t>;
using namespace boardsim;

namespace {

constexpr struct mbox_info mailbox = {0x80, 0x81, 0x82, 0x83};

struct fpga_bench {
    sim_board board;

    void settings(const std::string &text) const
    {
        std::ofstream(board.folder + "/fpga.cfg") << text;
    }
    [[nodiscard]] bool write(uint16_t reg, uint8_t value) const
    {
        return lpctool_set_mbox(&mailbox, reg, value, nullptr, nullptr, "", "", 0) == 0;
    }
    [[nodiscard]] std::optional<unsigned> read(uint16_t reg) const
    {
        uint8_t value = 0;
        const bool good = lpctool_get_mbox(&mailbox, reg, &value, nullptr, nullptr, "", "", 0, 0) == 0;
        return good ? std::optional<unsigned>(value) : std::nullopt;
    }
    void put(std::initializer_list<std::pair<uint16_t, uint8_t>> writes) const
    {
        for (const auto &[reg, value] : writes) {
            EXPECT_TRUE(write(reg, value)) << std::hex << reg;
        }
    }
};

TEST(Fpga, AnswersAtTheToldPollAndForgetsACommandThatIsGivenUp)
{
    const fpga_bench fpga;
    constexpr fpga_protocol slow = fpga_indirect, never = fpga_operation;
    fpga.settings("# slow\nindirect_polls=3\nmode_polls=2\noperation_polls=never\n");
    fpga.put({{slow.dev_id_reg, fpga_flash_device},
              {slow.opcode_reg, fpga_opcode_erase},
              {slow.data_len_reg, 1},
              {slow.cmd_reg, 0x20},
              {slow.start_reg, slow.start_val}});
    for (const unsigned shown : {0U, 0U, unsigned{slow.done_val}}) {
        EXPECT_EQ(fpga.board.image("fpga_flash.bin", 0x20, 1), bytes{0});
        EXPECT_EQ(fpga.read(slow.status_reg), shown);
    }
    EXPECT_EQ(fpga.board.image("fpga_flash.bin", 0x20, 2), (bytes{0xff, 0}));

    fpga.put({{slow.start_reg, slow.start_val}});
    EXPECT_EQ(fpga.read(slow.status_reg), 0U);
    fpga.put({{slow.status_reg, slow.reset_val}});
    for (int i = 0; i < 4; i++) {
        EXPECT_EQ(fpga.read(slow.status_reg), 0U);
    }

    EXPECT_EQ(fpga.read(fpga_mode_reg), fpga_normal_mode_ack);
    fpga.put({{fpga_mode_reg, fpga_test_mode_val}});
    EXPECT_EQ(fpga.read(fpga_mode_reg), 0U);
    EXPECT_EQ(fpga.read(fpga_mode_reg), fpga_test_mode_ack);
    fpga.put({{never.dev_id_reg, fpga_flash_device},
              {never.opcode_reg, fpga_opcode_none},
              {never.start_reg, never.start_val}});
    EXPECT_EQ(fpga.read(never.status_reg), 0U);
    EXPECT_EQ(fpga.read(never.status_reg), 0U);
}

TEST(Fpga, FailsTheAccessesThatItsSettingsName)
{
    const fpga_bench fpga;
    fpga.settings("fail=read 0x0106 2\nfail=write 0x0200 2+\n");
    EXPECT_TRUE(fpga.read(0x0106));
    EXPECT_TRUE(fpga.write(0x0106, 0));
    EXPECT_FALSE(fpga.read(0x0106));
    EXPECT_TRUE(fpga.read(0x0106));
    EXPECT_TRUE(fpga.write(0x0200, 1));
    EXPECT_FALSE(fpga.write(0x0200, 2));
    EXPECT_FALSE(fpga.write(0x0200, 3));
    EXPECT_EQ(fpga.read(0x0200), 1U);
    // New settings count anew.
    fpga.settings("fail=any any 2\n");
    EXPECT_TRUE(fpga.write(0x0200, 4));
    EXPECT_FALSE(fpga.read(0x0200));
    EXPECT_EQ(fpga.read(0x0200), 4U);
    for (const char *wrong : {"fail=read 0x0106", "fail=read 0x106 1", "fail=read any 0", "polls=1",
                              "indirect_polls=0", "indirect_status=1", "nonsense"}) {
        fpga.settings(wrong);
        EXPECT_EQ(fpga.read(0x0200), std::nullopt) << wrong;
    }
}

} // namespace
