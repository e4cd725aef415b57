/* SPDX-License-Identifier: MIT */
// Requests end to end: a client with its threads, and a broker in the test that loses, doubles and delays.
#include <cstring>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>

#include <boarddiag.h>

#include "busbroker/failing_alloc.h"
#include "busbroker/loopback.h"
#include "support/capture.h"

using diagtest::frames_of;
using diagtest::request_view;
using diagtest::start_client;

namespace {

using answers = std::vector<std::string>;

busbroker_req_resp record_of(uint32_t transac_id, uint8_t flags = 0, uint32_t retry_ms = 100)
{
    busbroker_req_resp req{};
    req.tool_id = 3;
    req.transac_id = transac_id;
    req.flags = flags;
    req.retry_ms = retry_ms;
    return req;
}

uint32_t send(tool_info *tool, busbroker_req_resp *req, uint32_t type)
{
    return request_busbroker(req, tool, "cpu0", "fpga", 0, type, 5);
}

bool is_idle(tool_info *tool)
{
    pthread_mutex_lock(&tool->tx_mutex);
    pthread_mutex_lock(&tool->rx_mutex);
    const bool idle = tool->tx_queue == nullptr && tool->rx_queue == nullptr;
    pthread_mutex_unlock(&tool->rx_mutex);
    pthread_mutex_unlock(&tool->tx_mutex);
    return idle;
}

// A read's answer: the low bytes of its address.
std::string read_back(const request_view &request)
{
    return request.data + ",Success,4," + request.data.substr(4, 4) + request.data.substr(0, 4);
}

} // namespace

TEST(Request, FillsParameters)
{
    static const char lost[] =
        "update_busbroker_req_fields[#]: Support data length is not NULL but buffer pointer "
        "is NULL, Considering no support data";
    static const char empty[] =
        "update_busbroker_req_fields[#]: Support data buffer is not NULL, but support data "
        "buffer is not empty\n";
    busbroker_req_resp req = record_of(1);
    uint8_t data[2] = {}, support[3] = {};
    set_verb_level(3);
    EXPECT_EQ(diagtest::console_of([&] {
                  update_busbroker_req_fields(&req, 0x10, 2, 8, data, 4, BB_REQ_READ, 5, nullptr, 3);
              }),
              lost);
    EXPECT_EQ(req.resp_buf, data);
    EXPECT_EQ(req.write_data, nullptr);
    EXPECT_EQ(req.code, 5);
    EXPECT_EQ(req.support_count, 0);
    EXPECT_EQ(diagtest::console_of([&] {
                  update_busbroker_req_fields(&req, 0x10, 2, 8, data, 4, BB_REQ_WRITE, 5, support, 0);
              }),
              empty);
    EXPECT_EQ(req.resp_buf, nullptr);
    EXPECT_EQ(req.write_data, data);
    EXPECT_EQ(req.code, 28);
    EXPECT_EQ(req.support_bytes, nullptr);
    update_busbroker_req_fields(&req, 1, 2, 3, data, 4, BB_REQ_OTF_DEV_ID, 5, support, 3);
    EXPECT_EQ(req.resp_buf, nullptr);
    EXPECT_EQ(req.support_bytes, support);
    EXPECT_EQ(req.support_count, 3);
}

TEST(Request, EndsAsTheBrokerSays)
{
    static const struct {
        uint32_t type;
        uint8_t flags;
        const char *first, *second; // answers
        uint32_t result;
        const char *bytes;
    } rows[] = {
        {BB_REQ_READ, 0, "a,b,c,d,Success,2,4142", nullptr, 0, "AB"},
        {BB_REQ_READ, 0, "a,b,c,d,Success,8,4142434445464748", nullptr, 0, "ABC"}, // count is 3
        {BB_REQ_READ, 0, "a,b,c,d,Rx Ack", "a,b,c,d,Success,1,41", 0, "A"},
        {BB_REQ_READ, 0, "a,b,c,d,Busy", nullptr, DIAG_ERR_INVALID_ARG, ""},
        {BB_REQ_WRITE, 0, "a,b,c,Success,", nullptr, 0, ""},
        {BB_REQ_WRITE, BB_REQ_ACK_DONE, "a,b,c,Rx Ack", nullptr, 0, ""},
        {0, 0, "Req not found", nullptr, DIAG_ERR_INVALID_ARG, ""},
        {BB_REQ_OTF_DEV_ID, 0, "Success,iiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiijkl", nullptr, 0,
         "iiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiiii"},
        {BB_REQ_BUS_DEV_ACCESS, 0, "Success", "Success", 0, ""},
    };
    uint32_t id = 1;
    tool_info *tool = start_client(
        [](const request_view &request, int) {
            const auto &row = rows[request.transac_id - 1];
            return row.second != nullptr ? answers{row.first, row.second} : answers{row.first};
        },
        diagtest::every_100_ms);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.first);
        uint8_t buf[64] = {}, support[1] = {1};
        busbroker_req_resp req = record_of(id, row.flags, 60'000);
        req.count = 3;
        req.resp_buf = buf;
        req.write_data = support;
        req.count = row.type == BB_REQ_WRITE ? 1 : 3;
        req.support_bytes = support;
        req.support_count = 1;
        EXPECT_EQ(send(tool, &req, row.type), row.result);
        EXPECT_EQ(req.transac_id, ++id);
        EXPECT_STREQ(reinterpret_cast<char *>(buf), row.bytes);
        EXPECT_EQ(req.data, nullptr);
        EXPECT_EQ(req.support_data, nullptr);
    }
    diagtest::wait_for([&] { return is_idle(tool); });
}

TEST(Request, LostAnswersAreAskedForAgainAndGivenUpAfterThreeSends)
{
    tool_info *tool = start_client(
        [](const request_view &request, int nth) {
            return request.transac_id != 1 && nth == 3 ? answers{"Success"} : answers{};
        },
        diagtest::every_ms);
    std::thread behind([&] {
        diagtest::wait_for([] { return frames_of(1) > 0; });
        busbroker_req_resp req = record_of(2, 0, 20'000); // its third answer has 200 ticks to come
        EXPECT_EQ(send(tool, &req, 0), 0u);
    });
    busbroker_req_resp req = record_of(1, 0, 500);
    EXPECT_EQ(send(tool, &req, 0), DIAG_ERR_INVALID_ARG);
    EXPECT_EQ(req.transac_id, 2u);
    behind.join();
    EXPECT_EQ(frames_of(1), 3);
    EXPECT_EQ(frames_of(2), 3);
    EXPECT_TRUE(is_idle(tool));
}

TEST(Request, WithoutWaitingReturnsAtOnceAndIsSentForEver)
{
    tool_info *tool =
        start_client([](const request_view &request,
                        int) { return request.transac_id == 2 ? answers{"Success"} : answers{}; },
                     diagtest::every_ms);
    busbroker_req_resp req = record_of(1, BB_REQ_NO_WAIT);
    EXPECT_EQ(send(tool, &req, 0), 0u);
    EXPECT_EQ(req.transac_id, 2u);
    EXPECT_EQ(send(tool, &(req = record_of(2)), 0), 0u);
    diagtest::wait_for([] { return frames_of(1) > 5; });
    pthread_mutex_lock(&tool->tx_mutex);
    EXPECT_NE(tool->tx_queue, nullptr);
    pthread_mutex_unlock(&tool->tx_mutex);
}

TEST(Request, EachCallerGetsItsOwnBytesThoughAnswersComeTwice)
{
    constexpr uint32_t callers = 8, rounds = 100;
    tool_info *tool = start_client(
        [](const request_view &request, int) {
            return answers{read_back(request), read_back(request)};
        },
        diagtest::every_ms);
    std::vector<std::thread> threads;
    for (uint32_t caller = 0; caller < callers; caller++) {
        threads.emplace_back([tool, caller] {
            busbroker_req_resp req = record_of(caller << 16, 0, 60'000);
            for (uint32_t round = 0; round < rounds; round++) {
                uint8_t got[4] = {};
                const uint32_t addr = caller << 16 | round;
                const uint8_t wanted[] = {0, static_cast<uint8_t>(round), 0, static_cast<uint8_t>(caller)};
                update_busbroker_req_fields(&req, addr, 4, 8, got, 0, BB_REQ_READ, 1, nullptr, 0);
                EXPECT_EQ(send(tool, &req, BB_REQ_READ), 0u);
                EXPECT_EQ(memcmp(got, wanted, sizeof got), 0);
            }
            EXPECT_EQ(frames_of(caller << 16), 1);
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    diagtest::wait_for([&] { return is_idle(tool); });
}

TEST(Request, IdleClientUsesNoProcessorTime)
{
    start_client([](const request_view &, int) { return answers{}; }, diagtest::every_100_ms);
    rusage before{}, after{};
    getrusage(RUSAGE_SELF, &before);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    std::this_thread::sleep_until(end);
    getrusage(RUSAGE_SELF, &after);
    const auto used = [](const rusage &usage) {
        return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1'000'000 + usage.ru_utime.tv_usec +
               usage.ru_stime.tv_usec;
    };
    EXPECT_LT(used(after) - used(before), 50'000);
}

TEST(Request, WithoutMemory)
{
    using diagtest::error_line;
    static const std::string messages[] = {
        error_line("update_request", "Couldn't allocate memory \n"),
        error_line("update_request", "Couldn't allocate memory\n"),
        error_line("request_busbroker", "Memory allocation error\n"),
        error_line("queue_tx_buf", "Couldn't allocate tx queue memory\n") +
            error_line("request_busbroker", "Can't queue the request \n"),
    };
    tool_info *tool = diagtest::new_client();
    int nth = 1;
    for (const std::string &message : messages) {
        const uint8_t support = 1;
        busbroker_req_resp req = record_of(1);
        req.support_bytes = &support;
        req.support_count = 1;
        const std::string console = diagtest::console_of([&] {
            diagtest::fail_allocation(nth++);
            EXPECT_EQ(send(tool, &req, BB_REQ_READ), DIAG_ERR_NO_MEMORY);
        });
        EXPECT_EQ(console, message);
        EXPECT_EQ(req.transac_id, 1u);
        EXPECT_EQ(req.data, nullptr);
        EXPECT_EQ(tool->tx_queue, nullptr);
    }
    diagtest::fail_allocation(0);
    busbroker_req_resp req = record_of(1);
    EXPECT_EQ(send(nullptr, &req, 0), DIAG_ERR_INVALID_ARG);
    EXPECT_EQ(send(tool, nullptr, 0), DIAG_ERR_INVALID_ARG);
}
