/* SPDX-License-Identifier: MIT */
// Addressing a device without data, on both of its paths.
#include <mutex>

#include "access/calls.h"
#include "busbroker/loopback.h"

namespace {

using NoData = Calls;

TEST_F(NoData, WithTheTool)
{
    const std::string trace = "i2ctool_set_no_data: i2ctool --no_data --bus=3 --addr=0x5";
    set_debug_enable(1); // this call knows no dry run
    expect(trace + "0 \n", 0, i2ctool_set_no_data, nullptr, 1, "3", 0x50);
    EXPECT_EQ(board.commands().back(), "i2ctool --no_data --bus=3 --addr=0x50");
    expect(trace + "f \nFAILED <<<---\nError writing to I2C device\n", DIAG_ERR_FAILED, i2ctool_set_no_data,
           nullptr, 9, "3", 0x5f);
    expect(error_line("i2ctool_set_no_data", "invalid I2C bus path\n"), DIAG_ERR_INVALID_ARG,
           i2ctool_set_no_data, nullptr, 1, nullptr, 0x50);
}

TEST_F(NoData, WithTheBroker)
{
    static std::mutex mutex;                         // guards what the broker's thread sees and answers
    static auto &seen = *new diagtest::request_view; // the broker outlives static objects
    static const char *answer = "a,b,c,Success,";
    tool_info *tool = diagtest::start_client(
        [](const diagtest::request_view &request) {
            const std::lock_guard lock(mutex);
            seen = request;
            return std::vector<std::string>{answer};
        },
        1);
    busbroker_req_resp req{};
    req.tool_id = 3;
    req.transac_id = 1;
    req.addr = 0x10;
    req.width = 8;
    req.code = 28;
    req.retry_ms = 1000;
    const busbroker_dev_info device = {"cpu0", "fpga", &req, tool}, none = {"cpu0", "fpga", nullptr, tool};
    set_verb_level(0);
    EXPECT_EQ(i2ctool_set_no_data(&device, 0, nullptr, 0), 0u);
    {
        const std::lock_guard lock(mutex);
        EXPECT_EQ(seen.type, uint32_t{BB_REQ_WRITE});
        EXPECT_EQ(seen.data, "00000010,0001,08,1c,ff");
        answer = "a,b,c,Busy";
    }
    EXPECT_EQ(*req.write_data, 0xff); // still there behind the call
    EXPECT_EQ(*req.support_bytes, 0x01);
    EXPECT_EQ(req.support_count, 1);
    diagtest::console_of(
        [&] { EXPECT_EQ(i2ctool_set_no_data(&device, 0, nullptr, 0), DIAG_ERR_INVALID_ARG); });
    const std::string refused = error_line("i2ctool_set_no_data", "Rx NULL pointer\n");
    expect(refused, DIAG_ERR_INVALID_ARG, i2ctool_set_no_data, nullptr, 0, "3", 0x50);
    expect(refused, DIAG_ERR_INVALID_ARG, i2ctool_set_no_data, &none, 0, "3", 0x50);
}

} // namespace
