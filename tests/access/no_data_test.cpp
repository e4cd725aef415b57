/* SPDX-License-Identifier: MIT */
// Addressing a device without data, on both of its paths.
#include "access/calls.h"
#include "busbroker/loopback.h"
#include "support/sim_broker.h"

namespace {

using NoData = Calls;

TEST_F(NoData, WithTheTool)
{
    set_debug_enable(1); // this call knows no dry run
    expect("i2ctool_set_no_data: i2ctool --no_data --bus=3 --addr=0x50 \n", 0, i2ctool_set_no_data, nullptr,
           9, "3", 0x50);
    EXPECT_EQ(board.commands().back(), "i2ctool --no_data --bus=3 --addr=0x50");
    expect(error_line("i2ctool_set_no_data", "invalid I2C bus path\n"), DIAG_ERR_INVALID_ARG,
           i2ctool_set_no_data, nullptr, 1, nullptr, 0x50);
}

TEST_F(NoData, WithTheBroker)
{
    const diagtest::sim_broker broker;
    tool_info *tool = diagtest::start_client(broker.port, 1);
    busbroker_req_resp req{};
    req.tool_id = 3;
    req.transac_id = 1;
    req.addr = 0x10;
    req.width = 8;
    req.code = 28;
    req.retry_ms = 1000;
    const busbroker_dev_info device = {"i2c-3-0x50", "rom", &req, tool},
                             empty = {"i2c-3-0x5f", "", &req, tool}, none = {"cpu0", "fpga", nullptr, tool};
    set_verb_level(0);
    EXPECT_EQ(i2ctool_set_no_data(&device, 0, nullptr, 0), 0u);
    EXPECT_EQ(board.commands().back(), "broker 3 i2c-3-0x50 rom ind=5 00000010,0001,08,1c,ff support=,01");
    EXPECT_EQ(*req.write_data, 0xff); // still there behind the call
    EXPECT_EQ(*req.support_bytes, 0x01);
    EXPECT_EQ(req.support_count, 1);
    diagtest::told(DIAG_ERR_INVALID_ARG, [&] { return i2ctool_set_no_data(&empty, 0, nullptr, 0); });
    const std::string refused = error_line("i2ctool_set_no_data", "Rx NULL pointer\n");
    for (const busbroker_dev_info *info : {static_cast<const busbroker_dev_info *>(nullptr), &none}) {
        EXPECT_EQ(
            diagtest::told(DIAG_ERR_INVALID_ARG, [=] { return i2ctool_set_no_data(info, 0, "3", 0x50); }),
            refused);
    }
}

} // namespace
