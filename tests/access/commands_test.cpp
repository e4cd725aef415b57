/* SPDX-License-Identifier: MIT */
// The device wrappers on the simulated board: the exact command line, all that they tell, the status, and
// what the devices hold afterwards.

#include "access/calls.h"

namespace {

using Commands = Calls;

TEST_F(Commands, I2c)
{
    const std::string head = "i2ctool_set: i2ctool --write --bus=3 --addr=0x50 --width=";
    struct {
        decltype(i2ctool_set) *set;
        uint16_t reg;
        const struct reg_info *info;
        int32_t count, flag;
        uint8_t broker;
        std::string tail;
    } const cases[] = {
        {i2ctool_set, 0x110, &reg8_data8, 2, 0, 0, "8 --reg=0x10 --val=0x01,0xab"},
        {i2ctool_set, 0x12, &reg8_data16, 2, 0, 7, "16 --busbroker_req --reg=0x12 --val=0x01,0xab"},
        {i2ctool_set, 0x14, &reg8_data8, 1, 2, 0, "8 --flag= --reg=0x14 --val=0x01"},
        {i2ctool_set, 0x15, &reg8_data8, 1, 3, 1, "8 --flag=pec --busbroker_req --reg=0x15 --val=0x01"},
        {i2ctool_set, 0x16, &reg16_data8_le, 1, 1, 0, "8 --flag=pec --reg16=0x0016 --val=0x01 --reg_le"},
        {i2ctool_set, 0x18, &regblk_datablk, 0, 0, 0, "8 --regblock=0x0018 --val="},
        {i2ctool_set, 0x18, &reg16_data8_le, -1, 0, 0, "8 --reg16=0x0018 --val= --reg_le"},
        {i2ctool_set_no_cntrl, 0, &reg8_data8, 0, 0, 0, "8 --no_control --reg=0x00 --val="},
        {i2ctool_set_no_cntrl, 0, &reg8_data8, 0, 1, 1,
         "8 --flag=pec --busbroker_req --no_control --reg=0x00 --val="},
    };
    for (const auto &c : cases) {
        expect(head + c.tail + "\n", 0, c.set, "3", 0x50, c.reg, c.info, two, c.count, c.flag, c.broker);
    }
    expect("i2ctool_get: i2ctool --read --bus=3 --addr=0x50 --count=7 --pipe=" + path +
               " --width=8 --no_control --reg16=0x0010 --reg_le\n7 bytes read from the fifo\n",
           0, i2ctool_get_no_cntrl, "3", 0x50, 0x10, &reg16_data8_le, 7, pipe, dest);
    EXPECT_EQ(got(8), (bytes{0x01, 0xab, 0x01, 0xab, 0x01, 0x01, 0x01, 0xee}));
}

TEST_F(Commands, I2cReads)
{
    const reg_info reg8_le = {REG8, DATA8, 1};
    struct {
        uint16_t reg;
        const reg_info *info;
        int32_t count;
        std::string tail;
    } const cases[] = {
        {0x10, &reg8_data8, 4, "--width=8 --reg=0x10"},
        {0x1234, &reg8_le, 1, "--width=8 --reg=0x34 --reg_le"},
        {0x0034, &reg16_data8, 2, "--width=8 --reg16=0x0034"},
        {0x1234, &regblk_datablk, 3, "--width=8 --regblock=0x34"},
        {0x0020, &reg8_data16, 2, "--width=16 --reg=0x20"},
        {0x00, &reg8_data8, 0, "--width=8 --reg=0x00"}, // read nothing, whatever the tool does
        {0x00, &reg8_data8, -1, "--width=8 --reg=0x00"},
    };
    for (const auto &c : cases) {
        diagtest::console_of([&] { i2ctool_get("3", 0x51, c.reg, c.info, c.count, pipe, dest); });
        EXPECT_EQ(board.commands().back(), "i2ctool --read --bus=3 --addr=0x51 --count=" +
                                               std::to_string(c.count) + " --pipe=" + path + " " + c.tail);
        EXPECT_EQ(c.count <= 0, got(1) == bytes{0xee});
    }
    i2ctool_get(std::string(3000, '7').c_str(), 0x51, 0, &reg8_data8, 1, pipe, dest);
    EXPECT_EQ(board.commands().back(), "i2ctool --read --bus=" + std::string(2047 - 21, '7'));
}

TEST_F(Commands, DryRunsAndRefusals)
{
    const reg_info bad_width = {7, 3, 0}, bad_mode = {3, DATABLK, 0}, high_mode = {UINT32_MAX, DATA8, 0};
    for (const auto &[info, told] :
         {std::pair{&bad_width, "Invalid width size 3\n"},
          {&high_mode, "Invalid Addressing mode -1\n"},
          {static_cast<const reg_info *>(nullptr), "Invalid reg_info pointer\n"}}) {
        expect(error_line("i2ctool_get", told), minus_one, i2ctool_get, "3", 0x50, 0, info, 4, pipe, dest);
    }
    const auto set = [&](const std::string &told, uint32_t status, const reg_info *info) {
        expect(error_line("i2ctool_set", told + "\n"), status, i2ctool_set, "3", 0x50, 0x10, info, two, 2, 1,
               1);
    };
    set_debug_enable(1);
    set("Invalid reg_info pointer", minus_one, nullptr);
    set("Invalid width size 3", minus_one, &bad_width);
    set("Invalid Addressing mode 3", minus_one, &bad_mode);
    set("i2ctool --write --bus=3 --addr=0x50 --width=8 --flag=pec --busbroker_req --reg=0x10 --val=0x01,0xab",
        0, &reg8_data8);
    expect("pcitool --write --bus=0x00 --dev=0x1f --func=0x00 --offset=0x40 --val=0x01,0xab\n", 0,
           pcitool_set, 0, 31, 0, 0x40, two, 2, 0, 8);
    expect("", 0, gpiotool_get, 0, 17, pipe, dest);
    expect("", 0, i2ctool_get, "3", 0x50, 0, &reg8_data8, 4, pipe, dest + 4);
    expect("", 0, lpctool_get, 0x200, 3, 'b', pipe, dest + 1);
    expect("", 0, pcitool_get, 0, 31, 0, 8, dest + 2, pipe, 4, 8);
    expect("", 0, memtool_get, 0x80000000, 2, 16, pipe, 1, dest + 3);
    EXPECT_EQ(got(6), (bytes{0x1a, 0x1a, 0x1a, 0x1a, 0x1a, 0xee}));
    EXPECT_TRUE(board.commands().empty());
    // These know no dry run.
    expect("Calling gpiotool --set --chip=0 --pin=17 --val=1\nbyte written to GPIO\n", 0, gpiotool_set, 0, 17,
           two, 0);
    expect("Calling lpctool --write --addr=0x00000090 --size=b --val=0x1\n1 bytes written to lpc\n", 0,
           lpctool_set, 0x90, two, 1, 'b', 0);
    expect("Calling memtool --write --addr=0x00000100 --width=8 --val=0x1\n1 bytes written to memory\n", 0,
           memtool_set, 0x100, 8, two, 1, 0);
    EXPECT_EQ(board.commands().size(), 3u);
    set_debug_enable(0);
}

TEST_F(Commands, GpioLpcPciAndMemory)
{
    const uint8_t high = 0xff, values[] = {0x00, 0x0a, 0xff};
    const uint16_t words[] = {0x1234, 0x5};
    const uint64_t longs[] = {UINT64_MAX, 0x0123456789abcdef};
    const std::string lpc = "Calling lpctool --write --addr=0x00000090 --size=b ";
    const std::string pci = "pcitool_set: pcitool --write --bus=0x00 --dev=0x1f --func=0x00 --offset=0x40";
    const std::string mem = "Calling memtool --write --addr=0x8000000",
                      mem_get = "Calling memtool --get --addr=0x80000000";

    expect("Calling gpiotool --set --chip=0 --pin=17 --val=255 --busbroker_req\nbyte written to GPIO\n", 0,
           gpiotool_set, 0, 17, &high, 1);
    expect("1 bytes read from the fifo\n", 0, gpiotool_get, 0, 17, pipe, dest);
    EXPECT_EQ(board.commands().back(), "gpiotool --get --chip=0 --pin=17 --pipe=" + path);
    expect(lpc + "--val=0x0,0xa,0xff\n3 bytes written to lpc\n", 0, lpctool_set, 0x90, values, 3, 'b', 0);
    expect(lpc + "--busbroker_req  --val=\n-2 bytes written to lpc\n", 0, lpctool_set, 0x90, values, -2, 'b',
           1);
    expect("3 bytes read from the fifo\n", 0, lpctool_get, 0x90, 3, 'w', pipe, dest + 1);
    EXPECT_EQ(board.commands().back(), "lpctool --get --addr=0x00000090 --size=w --count=3 --pipe=" + path);
    EXPECT_EQ(got(5), (bytes{0xff, 0x00, 0x0a, 0xff, 0xee}));

    expect(pci + " --val=0x01,0xab\n", 0, pcitool_set, 0, 31, 0, 0x40, two, 2, 0, 8);
    expect(pci + " --busbroker_req --width=8 --val=\n", 0, pcitool_set, 0, 31, 0, 0x40, two, 0, 1, 8);
    expect("pcitool_get: pcitool --get --bus=0 --dev=31 --func=0 --offset=0x40 --pipe=" + path +
               " --count=2 --width=8\n2 bytes read from the fifo\n",
           0, pcitool_get, 0, 31, 0, 0x40, dest, pipe, 2, 8);
    EXPECT_EQ(got(3), (bytes{0x01, 0xab, 0xee}));

    expect("Calling memtool --write --busbroker --addr=0x80000000 --width=16 --val=0x1234,0x5\n"
           "2 bytes written to memory\n",
           0, memtool_set, 0x80000000, 16, words, 2, 1);
    expect(mem + "4 --width=64 --val=0xffffffffffffffff,0x123456789abcdef\n2 bytes written to memory\n", 0,
           memtool_set, 0x80000004, 64, longs, 2, 0);
    expect(mem + "0 --width=32 --val=\n0 bytes written to memory\n", 0, memtool_set, 0x80000000, 32, words,
           0, 0);
    expect(mem_get + " --count=3 --width=16 --pipe=" + path + " --be\n6 bytes read from the fifo\n", 0,
           memtool_get, 0x80000000, 3, 16, pipe, 1, dest);
    EXPECT_EQ(got(7), (bytes{0x12, 0x34, 0x00, 0x05, 0xff, 0xff, 0xee}));
    expect(mem_get + " --count=2 --width=64 --pipe=" + path + "\n16 bytes read from the fifo\n", 0,
           memtool_get, 0x80000000, 2, 64, pipe, 0, dest);
    EXPECT_EQ(got(17), (bytes{0x34, 0x12, 5, 0, 255, 255, 255, 255, 255, 255, 255, 255, 0xef, 0xcd, 0xab,
                              0x89, 0xee}));
}

TEST_F(Commands, MemoryRefusals)
{
    const std::vector<uint64_t> many(501, 5);
    const std::string head = "memtool --write --addr=0x00000010 --width=";
    const std::string list = "0x5" + diagtest::times(500, ",0x5");
    const auto refused = [&](const std::string &told, uint32_t status, int32_t width, int32_t count) {
        expect(told, status, memtool_set, 0x10, width, many.data(), count, 0);
    };
    const std::string bad_width =
        error_line("memtool_set", "Invalid width. Only 8, 16, 32 and 64 are supported widths.\n");
    refused(bad_width, DIAG_ERR_FAILED, 24, 1);
    refused(bad_width, DIAG_ERR_FAILED, -16, 1);
    refused(error_line("memtool_set", "Could not allocate space for params of memtool\n"), minus_one, 8, -1);
    refused(error_line("memtool_set", "The length of command is longer than SYS_CMD_MAX_SIZE\n") +
                "The length of sys_cmd: 51\nsys_cmd:" + head + "64 --val=\n" +
                ("The length of data: 2003\ndata:\n" + list).substr(0, 1023),
            minus_one, 64, 501);
    EXPECT_TRUE(board.commands().empty());
    set_verb_level(0);
    EXPECT_EQ(memtool_set(0x10, 64, many.data(), 499, 0), 0u);
    EXPECT_EQ(board.commands().back().size(), 2046u); // one item more does not fit
    EXPECT_EQ(memtool_set(0x10, 64, many.data(), 500, 0), minus_one);
    EXPECT_EQ(memtool_set(0x10, 24, many.data(), 0, 0), 512u); // memtool's own refusal of the width
    EXPECT_EQ(board.commands().back(), head + "24 --val=");
}

TEST_F(Commands, LongValueListsAreCut)
{
    const bytes many(1000, 0x55);
    i2ctool_set("3", 0x50, 0, &reg16_data8_le, many.data(), 1000, 0, 0);
    EXPECT_TRUE(board.commands().back().ends_with(",0x55,0x55,")); // and no --reg_le
    lpctool_set(0, many.data(), 1000, 'b', 0);
    pcitool_set(0, 31, 0, 0, many.data(), 1000, 0, 8);
    for (const std::string &command : board.commands()) {
        EXPECT_EQ(command.size(), 2047u);
    }
}

} // namespace
