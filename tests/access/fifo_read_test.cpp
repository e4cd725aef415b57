/* SPDX-License-Identifier: MIT */
// The frame of a FIFO read, on i2ctool_get and the simulated board: what each failure tells, returns and
// leaves.
#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <boarddiag.h>

#include "support/capture.h"
#include "support/sim_board.h"

namespace fs = std::filesystem;
using diagtest::capture;
using diagtest::error_line;

namespace {

constexpr uint32_t minus_one = UINT32_MAX;

class FifoRead : public testing::Test {
  protected:
    diagtest::sim_board board;
    std::string pipe = board.fifo_path("answer");
    std::array<uint8_t, 8> data = {0xee, 0xee, 0xee, 0xee, 0xee, 0xee, 0xee, 0xee};
    uint32_t status = 0;
    diagtest::captured told;

    // Reads `count` bytes of the EEPROM and keeps what came of it.
    void read(int32_t count = 4, const struct reg_info *info = &reg8_data8, const char *bus = "3")
    {
        set_verb_level(2);
        told =
            capture([&] { status = i2ctool_get(bus, 0x50, 0x00, info, count, pipe.c_str(), data.data()); });
    }

    bool untouched() const
    {
        return data[0] == 0xee;
    }

    bool nothing_left() const
    {
        return !fs::exists(fs::symlink_status(pipe));
    }
};

TEST_F(FifoRead, CountsThatReadNothing)
{
    for (const int32_t count : {0, -1}) { // i2ctool refuses such a count; the frame reads nothing either way
        data.fill(0xee);
        read(count);
        EXPECT_TRUE(untouched() && nothing_left()) << count;
    }
}

TEST_F(FifoRead, InvalidDescriptors)
{
    struct {
        struct reg_info info;
        const char *message;
    } const cases[] = {
        {{REG8, 3, 0}, "Invalid width size 3\n"},
        {{7, 3, 0}, "Invalid width size 3\n"}, // the width is looked at first
        {{3, DATA8, 0}, "Invalid Addressing mode 3\n"},
        {{UINT32_MAX, DATABLK, 0}, "Invalid Addressing mode -1\n"},
    };
    for (const auto &c : cases) {
        read(4, &c.info);
        EXPECT_EQ(status, minus_one);
        EXPECT_EQ(told.console, error_line("i2ctool_get", c.message));
        EXPECT_TRUE(untouched() && nothing_left());
    }
    read(4, nullptr);
    EXPECT_EQ(status, minus_one);
    EXPECT_EQ(told.console, error_line("i2ctool_get", "Invalid reg_info pointer\n"));
    EXPECT_TRUE(board.commands().empty());
}

TEST_F(FifoRead, CommandLines)
{
    const struct reg_info reg8_le = {REG8, DATA8, 1};
    struct {
        uint16_t reg;
        const struct reg_info *info;
        int32_t count;
        std::string tail;
    } const cases[] = {
        {0x10, &reg8_data8, 4, "--width=8 --reg=0x10"},
        {0x1234, &reg8_le, 1, "--width=8 --reg=0x34 --reg_le"},
        {0x0034, &reg16_data8, 2, "--width=8 --reg16=0x0034"},
        {0x0102, &reg16_data8_le, 2, "--width=8 --reg16=0x0102 --reg_le"},
        {0x1234, &regblk_datablk, 3, "--width=8 --regblock=0x34"},
        {0x0020, &reg8_data16, 2, "--width=16 --reg=0x20"},
    };
    for (const auto &c : cases) {
        const std::string command = "i2ctool --read --bus=3 --addr=0x51 --count=" + std::to_string(c.count) +
                                    " --pipe=" + pipe + " " + c.tail;
        set_verb_level(1);
        EXPECT_EQ(diagtest::console_of(
                      [&] { i2ctool_get("3", 0x51, c.reg, c.info, c.count, pipe.c_str(), data.data()); }),
                  "i2ctool_get: " + command + "\n");
        EXPECT_EQ(board.commands().back(), command);
    }
    read(1, &reg8_data8, std::string(3000, '7').c_str());
    EXPECT_EQ(board.commands().back(), "i2ctool --read --bus=" + std::string(2047 - 21, '7'));
    EXPECT_TRUE(nothing_left());
}

TEST_F(FifoRead, DryRun)
{
    set_debug_enable(-1);
    read();
    EXPECT_EQ(status, 0u);
    EXPECT_EQ(data[0], 0x1a);
    EXPECT_EQ(told.console, "");
    read(4, nullptr);
    EXPECT_EQ(status, minus_one);
    EXPECT_TRUE(board.commands().empty() && nothing_left());
}

TEST_F(FifoRead, ThreadsReadTheirOwnBytes)
{
    const auto eeprom = board.image("i2c/3/0x50.bin", 0, 32);
    std::array<int, 2> good{};
    std::vector<std::thread> threads;
    for (size_t t = 0; t < good.size(); t++) {
        threads.emplace_back([&, t] {
            const std::string own = pipe + std::to_string(t);
            for (uint16_t i = 0; i < 12; i++) {
                const auto reg = static_cast<uint16_t>(2 * i + t);
                uint8_t byte = 0;
                good[t] += i2ctool_get("3", 0x50, reg, &reg8_data8, 1, own.c_str(), &byte) == 0 &&
                           byte == eeprom[reg];
            }
        });
    }
    for (auto &thread : threads) {
        thread.join();
    }
    EXPECT_EQ(good, (std::array<int, 2>{12, 12}));
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
}

} // namespace
