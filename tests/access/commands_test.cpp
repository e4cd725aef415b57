/* SPDX-License-Identifier: MIT */
// The device wrappers on the simulated board: the exact command line, all that they tell, the status, and
// what the devices hold afterwards.
#include <numeric>

#include "access/calls.h"
#include "busbroker/loopback.h"
#include "support/sim_broker.h"

using Commands = Calls;

TEST_F(Commands, I2cWrites)
{
    const std::string head = "i2ctool_set: i2ctool --write --bus=3 --addr=0x50 --width=";
    using row =
        std::tuple<decltype(i2ctool_set) *, uint16_t, const reg_info *, int, int, uint8_t, std::string>;
    const row cases[] = {
        {i2ctool_set, 0x110, &reg8_data8, 2, 0, 0, "8 --reg=0x10 --val=0x01,0xab"},
        {i2ctool_set, 0x12, &reg8_data16, 2, 0, 7, "16 --busbroker_req --reg=0x12 --val=0x01,0xab"},
        {i2ctool_set, 0x14, &reg8_data8, 1, 2, 0, "8 --flag= --reg=0x14 --val=0x01"},
        {i2ctool_set, 0x15, &reg8_data8, 1, 3, 1, "8 --flag=pec --busbroker_req --reg=0x15 --val=0x01"},
        {i2ctool_set, 0x16, &reg16_data8_le, 1, 1, 0, "8 --flag=pec --reg16=0x0016 --val=0x01 --reg_le"},
        {i2ctool_set, 0x18, &regblk_datablk, 0, 0, 0, "8 --regblock=0x0018 --val="},
        {i2ctool_set, 0x18, &reg16_data8_le, -1, 0, 0, "8 --reg16=0x0018 --val= --reg_le"},
        {i2ctool_set_no_cntrl, 0, &reg8_data8, 0, 1, 1,
         "8 --flag=pec --busbroker_req --no_control --reg=0x00 --val="},
    };
    for (const auto &[set, reg, info, count, flag, broker, tail] : cases) {
        expect(head + tail + "\n", 0, set, "3", 0x50, reg, info, two, count, flag, broker);
    }
    EXPECT_EQ(board.image("i2c/3/0x50.bin", 0x10, 7), (bytes{0x01, 0xab, 0x01, 0xab, 0x01, 0x01, 0x01}));
}

TEST_F(Commands, I2cReads)
{
    const reg_info reg8_le = {REG8, DATA8, 1};
    // The last is the first byte of the answer; the others count on.
    using row = std::tuple<decltype(i2ctool_get) *, uint16_t, const reg_info *, int, std::string, uint8_t>;
    const row cases[] = {
        {i2ctool_get, 0x10, &reg8_data8, 4, "8 --reg=0x10", 0x10},
        {i2ctool_get, 0x1234, &reg8_le, 1, "8 --reg=0x34 --reg_le", 0x34},
        {i2ctool_get_no_cntrl, 0x134, &reg16_data8_le, 2, "8 --no_control --reg16=0x0134 --reg_le", 0x35},
        {i2ctool_get, 0x1234, &regblk_datablk, 3, "8 --regblock=0x34", 0x34},
        {i2ctool_get, 0x20, &reg8_data16, 2, "16 --reg=0x20", 0x20},
        {i2ctool_get, 0x00, &reg8_data8, 0, "8 --reg=0x00", 0xee}, // read nothing, whatever the tool does
        {i2ctool_get, 0x00, &reg8_data8, -1, "8 --reg=0x00", 0xee},
    };
    for (const auto &[get, reg, info, count, tail, first] : cases) {
        const bool fails = count < 0; // in the tool, which takes no such count
        bytes stored(static_cast<size_t>(std::max(count, 0)));
        std::iota(stored.begin(), stored.end(), first);
        stored.push_back(0xee);
        expect("i2ctool_get: i2ctool --read --bus=3 --addr=0x51 --count=" + std::to_string(count) +
                   " --pipe=" + path + " --width=" + tail + "\n" +
                   (fails ? error_line("i2ctool_get", "FAILED <<<---\nError Reading from I2C\n")
                          : std::to_string(count) + " bytes read from the fifo\n"),
               fails ? 512 : 0, get, "3", 0x51, reg, info, count, pipe, dest);
        EXPECT_EQ(got(stored.size()), stored) << tail;
    }
}

TEST_F(Commands, DryRunsAndRefusals)
{
    const reg_info bad_width = {7, 3, 0}, bad_mode = {UINT32_MAX, DATA8, 0};
    const std::pair<const reg_info *, const char *> refused[] = {
        {&bad_width, "Invalid width size 3\n"},
        {&bad_mode, "Invalid Addressing mode -1\n"},
        {nullptr, "Invalid reg_info pointer\n"},
    };
    for (const auto &[info, told] : refused) {
        set_debug_enable(info == nullptr ? 1 : 0);
        expect(error_line("i2ctool_get", told), minus_one, i2ctool_get, "3", 0x50, 0, info, 4, pipe, dest);
        set_debug_enable(1);
        expect(error_line("i2ctool_set", told), minus_one, i2ctool_set, "3", 0x50, 0, info, two, 2, 1, 1);
    }
    expect(error_line("i2ctool_set", "i2ctool --write --bus=3 --addr=0x50 --width=8 --reg=0x10 --val=0x01\n"),
           0, i2ctool_set, "3", 0x50, 0x10, &reg8_data8, two, 1, 0, 0);
    expect("pcitool --write --bus=0x00 --dev=0x1f --func=0x00 --offset=0x40 --val=0x01,0xab\n", 0,
           pcitool_set, 0, 31, 0, 0x40, two, 2, 0, 8);
    expect("", 0, gpiotool_get, 0, 17, pipe, dest);
    expect("", 0, i2ctool_get, "3", 0x50, 0, &bad_mode, 4, pipe, dest + 4);
    expect("", 0, lpctool_get, 0x200, 3, 'b', pipe, dest + 1);
    expect("", 0, pcitool_get, 0, 31, 0, 8, dest + 2, pipe, 4, 8);
    expect("", 0, memtool_get, 0x80000000, 2, 16, pipe, 1, dest + 3);
    EXPECT_EQ(got(6), (bytes{0x1a, 0x1a, 0x1a, 0x1a, 0x1a, 0xee}));
    EXPECT_TRUE(board.commands().empty());
}

TEST_F(Commands, GpioLpcPciAndMemory)
{
    const uint8_t high = 0xff, vals[] = {0x00, 0x0a, 0xff};
    const uint16_t words[] = {0x1234, 0x5};
    const uint64_t longs[] = {UINT64_MAX, 0x0123456789abcdef};
    const std::string lpc = "Calling lpctool --write --addr=0x00000090 --size=b ";
    const std::string pci = "pcitool_set: pcitool --write --bus=0x00 --dev=0x1f --func=0x00 --offset=0x40";
    const std::string mem = "Calling memtool --write --addr=0x8000000",
                      mem_get = "Calling memtool --get --addr=0x80000000";

    set_debug_enable(1); // these writes know no dry run
    expect("Calling gpiotool --set --chip=0 --pin=17 --val=255 --busbroker_req\nbyte written to GPIO\n", 0,
           gpiotool_set, 0, 17, &high, 1);
    expect(lpc + "--val=0x0,0xa,0xff\n3 bytes written to lpc\n", 0, lpctool_set, 0x90, vals, 3, 'b', 0);
    expect(lpc + "--busbroker_req  --val=\n-2 bytes written to lpc\n", 0, lpctool_set, 0x90, vals, -2, 'b',
           1);
    expect("Calling memtool --write --busbroker --addr=0x80000000 --width=16 --val=0x1234,0x5\n"
           "2 bytes written to memory\n",
           0, memtool_set, 0x80000000, 16, words, 2, 1);
    expect(mem + "4 --width=64 --val=0xffffffffffffffff,0x123456789abcdef\n2 bytes written to memory\n", 0,
           memtool_set, 0x80000004, 64, longs, 2, 0);
    expect(mem + "0 --width=32 --val=\n0 bytes written to memory\n", 0, memtool_set, 0x80000000, 32, two, 0,
           0);
    set_debug_enable(0);

    expect("1 bytes read from the fifo\n", 0, gpiotool_get, 0, 17, pipe, dest);
    EXPECT_EQ(board.commands().back(), "gpiotool --get --chip=0 --pin=17 --pipe=" + path);
    expect("3 bytes read from the fifo\n", 0, lpctool_get, 0x90, 3, 'w', pipe, dest + 1);
    EXPECT_EQ(board.commands().back(), "lpctool --get --addr=0x00000090 --size=w --count=3 --pipe=" + path);
    EXPECT_EQ(got(5), (bytes{0xff, 0x00, 0x0a, 0xff, 0xee}));
    expect(pci + " --val=0x01,0xab\n", 0, pcitool_set, 0, 31, 0, 0x40, two, 2, 0, 8);
    expect(pci + " --busbroker_req --width=8 --val=\n", 0, pcitool_set, 0, 31, 0, 0x40, two, 0, 1, 8);
    expect("pcitool_get: pcitool --get --bus=0 --dev=31 --func=0 --offset=0x40 --pipe=" + path +
               " --count=2 --width=8\n2 bytes read from the fifo\n",
           0, pcitool_get, 0, 31, 0, 0x40, dest, pipe, 2, 8);
    EXPECT_EQ(got(3), (bytes{0x01, 0xab, 0xee}));
    expect(mem_get + " --count=3 --width=16 --pipe=" + path + " --be\n6 bytes read from the fifo\n", 0,
           memtool_get, 0x80000000, 3, 16, pipe, 1, dest);
    EXPECT_EQ(got(7), (bytes{0x12, 0x34, 0x00, 0x05, 0xff, 0xff, 0xee}));
    expect(mem_get + " --count=2 --width=64 --pipe=" + path + "\n16 bytes read from the fifo\n", 0,
           memtool_get, 0x80000000, 2, 64, pipe, 0, dest);
    EXPECT_EQ(got(17),
              (bytes{52, 18, 5, 0, 255, 255, 255, 255, 255, 255, 255, 255, 0xef, 0xcd, 0xab, 0x89, 0xee}));
}

TEST_F(Commands, MemoryRefusals)
{
    std::vector<uint64_t> many(501, 5);
    const std::string head = "memtool --write --addr=0x00000010 --width=", list = "0x5" + times(500, ",0x5");
    for (const int width : {24, -16}) {
        expect(error_line("memtool_set", "Invalid width. Only 8, 16, 32 and 64 are supported widths.\n"),
               DIAG_ERR_FAILED, memtool_set, 0x10, width, many.data(), 1, 0);
    }
    expect(error_line("memtool_set", "Could not allocate space for params of memtool\n"), minus_one,
           memtool_set, 0x10, 8, many.data(), -1, 0);
    expect(error_line("memtool_set", "The length of command is longer than SYS_CMD_MAX_SIZE\n") +
               "The length of sys_cmd: 51\nsys_cmd:" + head + "64 --val=\n" +
               ("The length of data: 2003\ndata:\n" + list).substr(0, 1023),
           minus_one, memtool_set, 0x10, 64, many.data(), 501, 0);
    many[0] = 0x555; // one digit less fits
    EXPECT_EQ(memtool_set(0x10, 64, many.data(), 499, 0), minus_one);
    EXPECT_TRUE(board.commands().empty());
    many[0] = 0x55;
    EXPECT_EQ(memtool_set(0x10, 64, many.data(), 499, 0), 0u);
    EXPECT_EQ(board.commands().back().size(), 2047u);
    EXPECT_EQ(memtool_set(0x10, 24, many.data(), 0, 0), 512u); // memtool's own refusal of the width
    EXPECT_EQ(board.commands().back(), head + "24 --val=");
}

TEST_F(Commands, LongTextsAreCut)
{
    const bytes many(1000, 0x55);
    i2ctool_set("3", 0x50, 0, &reg16_data8_le, many.data(), 1000, 0, 0); // and no --reg_le
    lpctool_set(0, many.data(), 1000, 'b', 0);
    pcitool_set(0, 31, 0, 0, many.data(), 1000, 0, 8);
    i2ctool_get(std::string(3000, '5').c_str(), 0x51, 0, &reg8_data8, 1, pipe, dest);
    for (const std::string &command : board.commands()) {
        EXPECT_EQ(command.size(), 2047u);
    }
    EXPECT_TRUE(board.commands()[0].ends_with(",0x55,0x55,"));
}

TEST_F(Commands, AddressingWithoutData)
{
    busbroker_req_resp req{};
    req.addr = 0x10;
    req.retry_ms = 1000;
    busbroker_dev_info device = {"i2c-3-0x50", "rom", nullptr, nullptr};
    for (const busbroker_dev_info *info :
         std::initializer_list<const busbroker_dev_info *>{nullptr, &device}) {
        expect(error_line("i2ctool_set_no_data", "Rx NULL pointer\n"), DIAG_ERR_INVALID_ARG,
               i2ctool_set_no_data, info, 0, "3", 0x50);
    }
    set_debug_enable(1); // the tool's way knows no dry run
    expect("i2ctool_set_no_data: i2ctool --no_data --bus=3 --addr=0x50 \n", 0, i2ctool_set_no_data, nullptr,
           9, "3", 0x50);
    EXPECT_EQ(board.commands().back(), "i2ctool --no_data --bus=3 --addr=0x50");
    expect(error_line("i2ctool_set_no_data", "invalid I2C bus path\n"), DIAG_ERR_INVALID_ARG,
           i2ctool_set_no_data, nullptr, 1, nullptr, 0x50);

    const sim_broker broker;
    device.req = &req;
    device.tool = start_client(broker.port, 1);
    EXPECT_EQ(i2ctool_set_no_data(&device, 0, nullptr, 0), 0u);
    EXPECT_EQ(board.commands().back(), "broker 3 i2c-3-0x50 rom ind=5 00000010,0001,00,00,ff support=,01");
    EXPECT_TRUE(*req.write_data == 0xff && *req.support_bytes == 0x01); // still there behind the call
    EXPECT_EQ(req.data, nullptr);                                       // released
    device.dev_id = "i2c-3-0x5f";
    told(DIAG_ERR_INVALID_ARG, [&] { return i2ctool_set_no_data(&device, 0, nullptr, 0); });
}
