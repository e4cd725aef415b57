/* SPDX-License-Identifier: MIT */
// The settings of the simulated FPGA, as they show through the mailbox.
#include <gtest/gtest.h>

#include <fstream>
#include <optional>

#include <boarddiag.h>

#include "sim/fpga.h"
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
    void put(uint16_t reg, size_t offset, uint8_t value) const
    {
        EXPECT_TRUE(write(static_cast<uint16_t>(reg + offset), value)) << std::hex << reg + offset;
    }

    void choose(const fpga_protocol &p, uint8_t opcode) const
    {
        put(p.dev_id_reg, 0, fpga_flash_device);
        put(p.opcode_reg, 0, opcode);
    }
    void address(const fpga_protocol &p, uint32_t where, size_t length) const
    {
        put(p.data_len_reg, 0, static_cast<uint8_t>(length));
        for (size_t i = 0; i < 3; i++) {
            put(p.cmd_reg, i, static_cast<uint8_t>(where >> (8 * i)));
        }
    }
    /// Starts the command; the status at the first read.
    [[nodiscard]] std::optional<unsigned> start(const fpga_protocol &p) const
    {
        put(p.start_reg, 0, p.start_val);
        return read(p.status_reg);
    }
};

TEST(Fpga, AnswersAtTheToldPollAndForgetsACommandThatIsGivenUp)
{
    const fpga_bench fpga;
    fpga.settings("# slow\nindirect_polls=3\nmode_polls=2\noperation_polls=never\n");
    fpga.choose(fpga_indirect, fpga_opcode_erase);
    fpga.address(fpga_indirect, 0x20, 1);
    EXPECT_EQ(fpga.start(fpga_indirect), 0U);
    EXPECT_EQ(fpga.read(fpga_indirect.status_reg), 0U);
    EXPECT_EQ(fpga.board.image("fpga_flash.bin", 0x20, 1), bytes{0});
    EXPECT_EQ(fpga.read(fpga_indirect.status_reg), fpga_indirect.done_val);
    EXPECT_EQ(fpga.board.image("fpga_flash.bin", 0x20, 2), (bytes{0xff, 0}));

    EXPECT_EQ(fpga.start(fpga_indirect), 0U);
    fpga.put(fpga_indirect.status_reg, 0, fpga_indirect.reset_val);
    for (int i = 0; i < 4; i++) {
        EXPECT_EQ(fpga.read(fpga_indirect.status_reg), 0U);
    }

    EXPECT_EQ(fpga.read(fpga_mode_reg), fpga_normal_mode_ack);
    fpga.put(fpga_mode_reg, 0, fpga_test_mode_val);
    EXPECT_EQ(fpga.read(fpga_mode_reg), 0U);
    EXPECT_EQ(fpga.read(fpga_mode_reg), fpga_test_mode_ack);
    fpga.choose(fpga_operation, fpga_opcode_none);
    EXPECT_EQ(fpga.start(fpga_operation), 0U);
    EXPECT_EQ(fpga.read(fpga_operation.status_reg), 0U);
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
