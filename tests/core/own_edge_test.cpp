/* SPDX-License-Identifier: MIT */
// A program that brings its own system(), popen(), pclose() and usleep() has them called, linked in or
// preloaded.
#include <cerrno>
#include <dlfcn.h>

#include "core/own_edge.h"
#include "support/capture.h"

namespace {

constexpr const char *path = "/tmp/own_edge_test";

own_edge &edge()
{
    auto *found = static_cast<own_edge *>(dlsym(RTLD_DEFAULT, "own_edge"));
    *found = {};
    return *found;
}

TEST(OwnEdge, SystemGetsTheCommandAndItsResultCounts)
{
    const std::tuple<int32_t, size_t, uint32_t, std::ptrdiff_t> cases[] = {
        {300'000, 300'000, 0, 300'000}, {4, 2, 0, 2}, {4, 100'000, 0, 4}, {4, 4, 77, 0}};
    for (const auto &[count, answer, status, stored] : cases) {
        own_edge &own = edge();
        std::vector<uint8_t> data(300'000, 0xee);
        own.answer_size = answer;
        own.status = static_cast<int>(status);
        told(status, [&, n = count] { return i2ctool_get("3", 0x50, 1, &reg8_data8, n, path, data.data()); });
        EXPECT_EQ(own.calls, "i2ctool --read --bus=3 --addr=0x50 --count=" + std::to_string(count) +
                                 " --pipe=" + path + " --width=8 --reg=0x01");
        EXPECT_TRUE(stored == 0 || data[static_cast<size_t>(stored) - 1] == (stored - 1) % 200);
        EXPECT_EQ(std::ranges::count(data, 0xee), 300'000 - stored);
    }
}

TEST(OwnEdge, TextIsReadFromPopenAndClosedWithPclose)
{
    uint8_t data[4] = {};
    own_edge &own = edge();
    char text[] = " 01 02\n 03\n";
    own.text = text;
    EXPECT_EQ(ipmitool2_get(6, 1, 0, nullptr, 3, data), 0u);
    EXPECT_STREQ(own.calls, "ipmitool raw 0x06 0x01 |closed");
    EXPECT_EQ(data[2], 3);
    edge();
    EXPECT_EQ(told(UINT32_MAX, [&] { return ipmitool_get("0-3", 1, 2, &reg8_data8, 1, nullptr, data); }),
              error_line("ipmitool_get", "shell command(ipmitool raw 0x38 0x2 0x3 0x1 0x2 0x1) failed\n"));
}

TEST(OwnEdge, PausesAreCallsOfUsleep)
{
    own_edge &own = edge();
    own.answer_size = 1;
    const mbox_info mbox = {0x80, 0x81, 0x82, 0x83};
    fpga_mode_info mode = {};
    console_of([&] { set_fpga_mode(&mode, &mbox, 0, 0); });
    EXPECT_EQ(own.pause, 100'000u);

    tool_info client = {};
    client.tx_mutex = client.rx_mutex = PTHREAD_MUTEX_INITIALIZER;
    busbroker_req_resp req = {};
    std::jthread asking(
        [&] { console_of([&] { EXPECT_EQ(request_busbroker(&req, &client, "", "", 0, 0, 0), 0u); }); });
    while (std::atomic_ref(own.pause) != 500'000u) { // as it waits for its answer
    }
    EXPECT_EQ(enqueue_rx_queues(&client, BB_RESP_SUCCESS, 0, nullptr, 0), 0u);
    asking.join();
    free_req_texts(&req);
}

} // namespace
