/* SPDX-License-Identifier: MIT */
// The IPMI wrappers: their requests on the simulated board, and what they make of tools that print anything.
#include "access/calls.h"

namespace {

using IpmiAccess = Calls;

constexpr const char *failed_read = "FAILED <<<---\nError Reading 0 bytes from IPMII2C\n";
const bytes untouched = {0xee};

TEST_F(IpmiAccess, RegisterWrites)
{
    const uint8_t values[] = {1, 2, 3, 4};
    const reg_info bad_width = {REG16, 9, 0};
    const auto put = [](const std::string &request) {
        return "ipmitool_set: ipmitool raw " + request + " > /dev/null\n";
    };
    const auto refused = [](const char *message) { return error_line("ipmitool_set", message); };
    using row = std::tuple<const char *, uint8_t, uint16_t, const reg_info *, int32_t, int32_t, uint32_t,
                           std::string>;
    const row cases[] = {
        {"0-3", 0x50, 0x1ff, &reg8_data8, 1, 2, 0, put("0x38 0x3 0x3 0x50 0xff 0x1")},
        {"x-3", 0x52, 0x1ff, &reg8_data8, 2, 1, 0,
         put("0x38 0x7 0x3 0x52 0xff 0x1") + put("0x38 0x7 0x3 0x52 0x0 0x2")},
        {"0-3", 0x50, 0x10, &reg8_data16, 4, 3, 0,
         put("0x38 0x8 0x3 0x50 0x10 0x1 0x2") + put("0x38 0x8 0x3 0x50 0x11 0x3 0x4")},
        {"0-4294967299", 0x50, 0x20, &reg8_data16, 2, 0, 0, put("0x38 0x4 0x3 0x50 0x20 0x1 0x2")},
        {"0-3", 0x50, 0x20, &reg8_data16, -3, 0, 0, ""},
        {nullptr, 0x19, 0x1235, nullptr, 0, 0, 0, put("0x3c 0x19 0x12 0x35 0x1 0x2 0x3 0x4")},
        {"0-9", 0x50, 0, &reg8_data8, 2, 0, minus_one,
         put("0x38 0x3 0x9 0x50 0x0 0x1") +
             refused("shell command(ipmitool raw 0x38 0x3 0x9 0x50 0x0 0x1 > /dev/null) failed\n")},
        {"0-9", 0x50, 0x20, &reg8_data16, 3, 0, minus_one,
         refused("Odd number of bytes 3 for 16-bit data\n")},
        {"3", 0x50, 0, &reg8_data8, 1, 0, minus_one, refused("Invalid bus path 3")},
        {"3", 0x50, 0, &regblk_datablk, 1, 0, minus_one, refused("Unsupport Addressing mode 2\n")},
        {"3", 0x50, 0, &bad_width, 1, 0, minus_one, refused("ERR:Invalid width size 9\n")},
        {nullptr, 0x1a, 0, nullptr, 0, 0, minus_one, refused("Unsupport OEM command 26\n")},
    };
    for (const auto &[bus, addr, reg, info, count, flag, status, told] : cases) {
        expect(told, status, ipmitool_set, bus, addr, reg, info, values, count, flag);
    }
    EXPECT_EQ(board.image("i2c/3/0x50.bin", 0x20, 2), (bytes{1, 2}));
    board.clear_commands();
    console_of([&] { EXPECT_EQ(ipmitool_set("0-3", 0x50, 0, &reg8_data16, dest, 301, 0), 0u); });
    EXPECT_EQ(board.commands().size(), 128u); // of 256 bytes
}

TEST_F(IpmiAccess, RegisterReads)
{
    const std::string take = "ipmitool_get: ipmitool raw ";
    const auto refused = [](const char *message) { return error_line("ipmitool_get", message); };
    using row = std::tuple<const char *, uint8_t, uint16_t, const reg_info *, std::string, uint32_t, bytes>;
    const row cases[] = {
        {"0-3", 0x50, 0x1f, &reg8_data16, take + "0x38 0x2 0x3 0x50 0x1f 0x3\n", 0, {0x1f, '1', '.', 0xee}},
        {nullptr, 0x18, 0x1234, nullptr, take + "0x3c 0x18 0x12 0x34\n", 0, {0x11, 0x22, 0x33, 0x44, 0xee}},
        {"a-b", 0x50, 0x123, &reg8_data8,
         take + "0x38 0x2 0x0 0x50 0x23 0x3\n" + refused("Error reading at offset 0x23\n"), minus_one,
         untouched},
        {"3", 0x50, 0, &reg8_data8, refused("Invalid bus path 3"), minus_one, untouched},
        {"3", 0x50, 0, &reg16_data8, refused("Unsupport Addressing mode 1\n"), minus_one, untouched},
        {nullptr, 0x1a, 0, nullptr, refused("Unsupport OEM command 1a\n"), minus_one, untouched},
    };
    for (const auto &[bus, addr, reg, info, told, status, stored] : cases) {
        expect(told, status, ipmitool_get, bus, addr, reg, info, 3, nullptr, dest);
        EXPECT_EQ(got(stored.size()), stored) << told;
    }
}

TEST_F(IpmiAccess, RawRequests)
{
    const uint8_t request[] = {3, 0x50, 0x00, 40};
    expect("ipmitool_get: ipmitool raw 0x38 0x02  0x03 0x50 0x00 0x28\n"
           "ipmii2c_get :  42 4f 41 52 44 53 49 4d 20 53 41 4d 50 4c 45 20\n\n40 bytes read from the fifo\n",
           0, ipmitool2_get, 0x38, 2, 4, request, 40, dest);
    EXPECT_EQ(got(40), board.image("i2c/3/0x50.bin", 0, 40));

    const std::string trace = "ipmitool_get: ipmitool raw 0x06 0x01 \n";
    // What is wanted, and whether a dry run shows it, and is a success.
    const std::tuple<std::string, int32_t, bool, std::string, uint32_t, bytes> cases[] = {
        {"exit 1", 0, true, "0 bytes read from the fifo\n", 0, {}},
        {"exit 1", 2, true, failed_read, minus_one, untouched},
        {"exit 1", -1, true, failed_read, minus_one, untouched},
        {"echo", 2, false, "ipmii2c_get : \n\n", 0, {0xee}},
        {"echo x", 2, false, "ipmii2c_get : x\n\n", minus_one, untouched},
        {"printf '\\0'", 2, false, "ipmii2c_get : \n", minus_one, untouched},
        {"echo ' 1a'; exit 3", 2, true, "ipmii2c_get :  1a\n\n2 bytes read from the fifo\n", 0, {0x1a, 0}},
        {"printf ' 1a\\033[2J\\233\\n'", 1, true,
         "ipmii2c_get :  1a\\x1b[2J\\x9b\n\n1 bytes read from the fifo\n", 0, bytes(1, 0x1a)},
        {"echo ' 1a'", -3, true, "ipmii2c_get :  1a\n\n"s + failed_read, minus_one, untouched},
        {"echo ' 1a'", 0, true, "ipmii2c_get :  1a\n\n0 bytes read from the fifo\n", 0, {0xee}},
    };
    for (const auto &[script, wanted, is_shown, told, status, stored] : cases) {
        become(script);
        expect(trace + told, status, ipmitool2_get, 6, 1, 0, nullptr, wanted, dest);
        EXPECT_EQ(got(stored.size()), stored) << script;
        set_debug_enable(1);
        expect(trace + told + (is_shown ? error_line("ipmitool2_set", "ipmitool raw 0x06 0x01 \n") : ""),
               is_shown ? 0 : status, ipmitool2_set, 6, 1, 0, nullptr, wanted, dest);
        set_debug_enable(0);
        got(0);
    }
}

TEST_F(IpmiAccess, LongAndEndlessOutputs)
{
    become("i=0; while [ $i -lt 600 ]; do printf ' %02x' $((i % 256)); i=$((i + 1)); done"); // one line
    console_of([&] { EXPECT_EQ(ipmitool2_get(6, 1, 0, nullptr, 600, dest), 0u); });
    for (size_t i = 0; i < 600; i++) {
        ASSERT_EQ(dest[i], i % 256) << i;
    }
    got(0);
    become("echo ' 1a'; sleep 1.1; echo; touch " + board.root + "/ended");
    EXPECT_EQ(ipmitool_get("0-3", 0x50, 0, &reg8_data8, 1, nullptr, dest), 0u);
    EXPECT_TRUE(std::filesystem::exists(board.root + "/ended")) << "read to the end, however slow";
    got(0);
    // What three calls, one after another, return and store.
    const std::tuple<std::string, std::array<uint32_t, 3>, bytes> endless[] = {
        {"yes ' 1a 2b'", {0, 0, 0}, {0x1a, 0x2b, 0x1a, 0x1a, 0x2b, 0x1a, 0x2b, 0xee}},
        {"tr '\\0' ' ' </dev/zero", {minus_one, 0, 0}, {0xee, 0xee, 0xee, 0, 0, 0, 0, 0xee}},
        {"cat /dev/zero", {minus_one, minus_one, minus_one}, bytes(8, 0xee)},
        {"yes ''", {minus_one, 0, minus_one}, bytes(8, 0xee)},
    };
    for (const auto &[script, statuses, stored] : endless) {
        become(script + " 2>/dev/null");
        console_of([&, &script = script, &status = statuses] {
            EXPECT_EQ(ipmitool_get("0-3", 0x50, 0, &reg8_data8, 3, nullptr, dest), status[0]) << script;
            EXPECT_EQ(ipmitool2_set(6, 1, 0, nullptr, 2, dest + 3), status[1]) << script;
            EXPECT_EQ(ipmii2c_get("0-3", 0xa0, 0, &reg8_data8, 2, nullptr, dest + 5), status[2]) << script;
        });
        EXPECT_EQ(got(8), stored) << script;
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    }
}

TEST_F(IpmiAccess, BridgedRequests)
{
    const uint8_t values[] = {0x34, 0x12, 0x78, 0x56};
    const std::string put = "ipmii2c_set: ipmitool raw 0x3a 0x01 0x03 ";
    const std::string take = "ipmii2c_get: ipmitool raw 0x3a 0x01 0x03 ";
    const std::string swap = "Byte Swapping 0x102 to 0x201\n",
                      blank = "\n"; // what the tool prints of a write
    expect(put + "0xa0 0x00 0x10  0x34 1>/dev/null\n", 0, ipmii2c_set, "0-3", 0xa0, 0x10, &reg8_data8, values,
           1, 0);
    expect(blank + put + "0xa4 0x00 0x10 0x12 0x34 0x56 0x78 0x5d 2>/dev/null\n", 0, ipmii2c2_set, "0-3",
           0xa4, 0x10, &reg8_data16, values, 2, 1);
    expect(swap + put + "0xa2 0x00 0x01  0x02  0x34 0x12 1>/dev/null\n", 0, ipmii2c_set, "0-3", 0xa2, 0x102,
           &reg16_data8, values, 2, 0);
    expect(blank + swap + put + "0xa2 0x00 0x01 0x02 2>/dev/null\n", 0, ipmii2c2_set, "0-3", 0xa2, 0x102,
           &reg16_data8, values, -1, 0);
    expect(take + "0xa4 0x04 0x10  2>/dev/null\nipmii2c_get:[ 12 34 56 78\n]\n2 bytes read from the fifo\n",
           0, ipmii2c_get, "0-3", 0xa4, 0x10, &reg8_data16, 2, nullptr, dest);
    expect(swap + take + "0xa2 0x01 0x01 0x02 2>/dev/null\nipmii2c_get: 34\n\n1 bytes read from the fifo\n",
           0, ipmii2c2_get, "1--3", 0xa2, 0x102, &reg16_data8, 1, dest + 4);
    EXPECT_EQ(got(6), (bytes{0x34, 0x12, 0x78, 0x56, 0x34, 0xee}));
    console_of([&] { ipmii2c_get("0-3", 0xa2, 0x100, &reg16_data8, 255, nullptr, dest); });
    EXPECT_EQ(got(255), board.image("i2c/3/0x51.bin", 0x100, 255));
}

TEST_F(IpmiAccess, BridgedRefusals)
{
    const reg_info bad = {REGBLK, 5, 0};
    const std::string longest_bus = "0-" + std::string(26, '0') + "3", long_bus = longest_bus + "0";
    const std::tuple<const char *, const reg_info *, int32_t, int32_t, const char *, uint32_t> cases[] = {
        {"0-3", nullptr, 1, 0, "Invalid reg_info pointer\n", minus_one},
        {"0", &bad, 1, 0, "Invalid width size 5\n", minus_one},
        {"0", &regblk_datablk, 1, 0, "Invalid Addressing mode 2\n", minus_one},
        {"-3", &reg8_data8, 1, 0, "Invalid ipmi i2c bus Format \n", DIAG_ERR_INVALID_ARG},
        {"-", &reg8_data8, 1, 0, "Invalid ipmi i2c bus Format \n", DIAG_ERR_INVALID_ARG},
        {long_bus.c_str(), &reg8_data8, 1, 0, "Ipmi i2c bus text is longer than 29 characters\n",
         DIAG_ERR_INVALID_ARG},
        {"0-3", &reg8_data8, 29, 1, "Write of 31 bytes is longer than 30 bytes\n", DIAG_ERR_INVALID_ARG},
        {"0-3", &reg8_data16, INT32_MAX, 0, "Write of 4294967295 bytes is longer than 30 bytes\n",
         DIAG_ERR_INVALID_ARG},
    };
    for (const auto &[bus, info, count, flag, message, status] : cases) {
        expect(error_line("ipmii2c_set", message), status, ipmii2c_set, bus, 0xa0, 0, info, dest, count,
               flag);
    }
    expect(error_line("ipmii2c_get", "r_data is NULL\n"), minus_one, ipmii2c_get, "0", 0xa0, 0, &bad, 1,
           nullptr, nullptr);
    EXPECT_TRUE(board.commands().empty());
    set_verb_level(0);
    EXPECT_EQ(ipmii2c_set(longest_bus.c_str(), 0xa0, 0, &reg8_data8, dest, 29, 0), 0u);
    EXPECT_EQ(board.image("i2c/3/0x50.bin", 28, 2), (bytes{0xee, 29}));
}

TEST_F(IpmiAccess, BridgedResponses)
{
    const std::string none = "fgets read ERR from the fifo\n";
    const std::tuple<const char *, int32_t, std::string, uint32_t, bytes> cases[] = {
        {"exit 1", 1, none + failed_read, minus_one, untouched},
        {"exit 1", 0, none + "0 bytes read from the fifo\n", 0, {0xee}},
        {"echo Z", 1, "ipmii2c_get:[Z\n]\nipmi read data err, 0x5a!\n", minus_one, untouched},
        {"printf '\\377'", 1, "ipmii2c_get:[\377]\nipmi read data err, 0xff!\n", minus_one, untouched},
        {"echo ' 1'", 2, "ipmii2c_get:[ 1\n]\n2 bytes read from the fifo\n", 0, {0x01, 0x00, 0xee}},
        {"echo ' 1a'", -1, "ipmii2c_get:[ 1a\n]\n"s + failed_read, minus_one, untouched},
    };
    for (const auto &[script, count, told, status, stored] : cases) {
        const std::string shown = count < 0 ? "0xffffffff" : "0x0" + std::to_string(count);
        become(script);
        expect("ipmii2c_get: ipmitool raw 0x3a 0x01 0x03 0xa0 " + shown + " 0x00  2>/dev/null\n" + told,
               status, ipmii2c_get, "0-3", 0xa0, 0, &reg8_data8, count, nullptr, dest);
        EXPECT_EQ(got(stored.size()), stored) << script;
    }
}

} // namespace
