/* SPDX-License-Identifier: MIT */
// Requests end to end: a client with its threads, and a broker in the test whose answers are scripted.
#include <atomic>
#include <thread>

#include "busbroker/loopback.h"

using diagtest::console_of;
using diagtest::request_view;
using diagtest::start_client;

namespace {

using answers = std::vector<std::string>;
constexpr int32_t every_ms = 0, every_100_ms = 1;
constexpr uint8_t one_byte[] = {0x5a};

busbroker_req_resp record_of(uint32_t transac_id, uint8_t flags = 0, uint32_t retry_ms = 60'000)
{
    busbroker_req_resp req{};
    req.transac_id = transac_id;
    req.flags = flags;
    req.retry_ms = retry_ms;
    req.write_data = req.support_bytes = one_byte;
    req.support_count = 1;
    return req;
}

uint32_t send(tool_info *tool, busbroker_req_resp *req, uint32_t type)
{
    return request_busbroker(req, tool, "cpu0", "fpga", 0, type, 5);
}

} // namespace

TEST(Request, FillsParameters)
{
    busbroker_req_resp req{};
    uint8_t data[2];
    set_verb_level(3);
    const auto fill = [&](int32_t type, const uint8_t *support, uint8_t count) {
        return console_of(
            [&] { update_busbroker_req_fields(&req, 1, 2, 8, data, 4, type, 5, support, count); });
    };
    EXPECT_TRUE(fill(BB_REQ_READ, nullptr, 3).ends_with("is NULL, Considering no support data"));
    EXPECT_TRUE(req.resp_buf == data && req.write_data == nullptr && req.code == 5 && req.support_count == 0);
    EXPECT_TRUE(fill(BB_REQ_WRITE, one_byte, 0).ends_with("but support data buffer is not empty\n"));
    EXPECT_TRUE(req.resp_buf == nullptr && req.write_data == data && req.code == 28 && !req.support_bytes);
}

TEST(Request, EndsAsTheBrokerSays)
{
    static const struct {
        uint32_t type, result;
        uint8_t flags;
        const char *first, *second; // answers
        const char *bytes;
    } rows[] = {
        {BB_REQ_READ, 0, 0, "a,b,c,d,Success,8,4142434445464748", "", "ABC"}, // count is 3
        {BB_REQ_READ, 0, 0, "a,b,c,d,Rx Ack", "a,b,c,d,Success,1,41", "A"},
        {BB_REQ_WRITE, 0, BB_REQ_ACK_DONE, "a,b,c,Rx Ack", "a,b,c,Success,", ""},
        {0, DIAG_ERR_INVALID_ARG, 0, "Req not found", "", ""},
        {BB_REQ_OTF_DEV_ID, 0, 0, "Success,123456789-123456789-123456789-123456789-", "",
         "123456789-123456789-123456789-123456789"},
        {BB_REQ_BUS_DEV_ACCESS, 0, 0, "Success", "Success", ""},
    };
    uint32_t id = 0;
    tool_info *tool = start_client(
        [](const request_view &request) {
            const auto &row = rows[request.transac_id];
            return row.second[0] != '\0' ? answers{row.first, row.second} : answers{row.first};
        },
        every_100_ms);
    for (const auto &row : rows) {
        SCOPED_TRACE(row.first);
        char buf[64] = "";
        busbroker_req_resp req = record_of(id++, row.flags);
        req.count = row.type == BB_REQ_READ ? 3 : 1;
        req.resp_buf = reinterpret_cast<uint8_t *>(buf);
        EXPECT_EQ(send(tool, &req, row.type), row.result);
        EXPECT_EQ(req.transac_id, id);
        EXPECT_STREQ(buf, row.bytes);
        EXPECT_TRUE(req.data == nullptr && req.support_data == nullptr);
    }
    EXPECT_TRUE(diagtest::is_idle(tool));
}

TEST(Request, LostAnswersAreAskedForAgainAndGivenUpAfterThreeSends)
{
    static std::atomic<int> sends[4];
    tool_info *tool = start_client(
        [](const request_view &request) {
            const int nth = ++sends[request.transac_id];
            return request.transac_id == 3 && nth == 3 ? answers{"Success"} : answers{};
        },
        every_ms);
    busbroker_req_resp unheeded = record_of(1, BB_REQ_NO_WAIT, 100);
    busbroker_req_resp lost = record_of(2, 0, 500); // a tick of 1 ms takes 100
    busbroker_req_resp late = record_of(3, 0, 20'000);
    EXPECT_EQ(send(tool, &unheeded, 0), 0u);
    std::thread other([&] { EXPECT_EQ(send(tool, &lost, 0), DIAG_ERR_INVALID_ARG); });
    EXPECT_EQ(send(tool, &late, 0), 0u);
    other.join();
    EXPECT_GT(sends[1], 3);
    EXPECT_EQ(sends[2], 3);
    EXPECT_EQ(sends[3], 3);
}
