/* SPDX-License-Identifier: MIT */
// Requests end to end: a client with its threads, and a broker in the test whose answers are scripted.
#include <atomic>
#include <set>

#include "busbroker/loopback.h"

namespace {

using answers = std::vector<std::string>;
constexpr int32_t every_ms = 0, every_100_ms = 1;
constexpr uint8_t one_byte[] = {0x5a};

uint32_t send(tool_info *tool, busbroker_req_resp *req, uint32_t type = 0)
{
    req->write_data = req->support_bytes = one_byte;
    req->support_count = 1;
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
        uint32_t type;
        uint8_t flags;
        const char *first, *second; // answers
        const char *bytes, *told, *reason;
    } rows[] = {
        {BB_REQ_READ, 0, "a,b,c,d,Success,8,4142434445464748", "", "ABC", "", ""}, // count is 3
        {BB_REQ_READ, 0, "a,b,c,d,Rx Ack", "a,b,c,d,Success,1,41", "A",
         "The bus broker sent 1 of 3 bytes for cpu0 fpga\n", ""},
        {BB_REQ_READ, BB_REQ_ACK_DONE, "a,b,c,d,Rx Ack", "", "", "", ""},
        {BB_REQ_WRITE, BB_REQ_ACK_DONE, "a,b,c,Rx Ack", "a,b,c,Success,", "", "", ""},
        {0, 0, "Req not found", "", "", "", "the bus broker answered 'Req not found' for cpu0 fpga"},
        {BB_REQ_READ, 0, "a,b,c,d,\x1b[No,e", "", "", "", "the bus broker answered '\\x1b[No' for cpu0 fpga"},
        {BB_REQ_READ, 0, "a,b,c,d,Success,1,", "", "",
         "ERROR: busbroker_parse_update_queues[#]: ERROR: Data format error in the rx response\n",
         "the bus broker answered 'a,b,c,d,Success,1,' for cpu0 fpga"},
        {BB_REQ_OTF_DEV_ID, 0, "Success,123456789-123456789-123456789-123456789-", "",
         "123456789-123456789-123456789-123456789", "", ""},
        {BB_REQ_BUS_DEV_ACCESS, 0, "Success", "Success", "", "", ""},
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
        request_record req(id++, row.flags);
        req.count = row.type == BB_REQ_READ ? 3 : 1;
        req.resp_buf = reinterpret_cast<uint8_t *>(buf);
        const bool good = row.reason[0] == '\0';
        EXPECT_EQ(told(good ? 0 : DIAG_ERR_INVALID_ARG, [&] { return send(tool, &req, row.type); }),
                  row.told);
        EXPECT_TRUE(good || std::string(diag_reason()) == row.reason) << diag_reason();
        EXPECT_EQ(req.transac_id, id);
        EXPECT_STREQ(buf, row.bytes);
        EXPECT_STREQ(req.support_data, ",5a") << "to be looked at, and framed again";
        EXPECT_EQ(strlen(req.data), req.data_len);
    }
    EXPECT_TRUE(is_idle(tool));
}

TEST(Request, LostAnswersAreAskedForAgainAndGivenUpAfterThreeSendsInVain)
{
    static const struct {
        uint32_t interval; // a tick of 1 ms takes 100
        int acks, success; // how many sends are acknowledged, and the one that is answered
    } rows[] = {{500, 0, 0}, {20'000, 0, 3}, {10'000, 1, 0}, {10'000, 6, 6}, {100, 0, 0}};
    static constexpr uint32_t callers = std::size(rows) - 1; // nobody waits for the last one
    static std::atomic<int> sends[std::size(rows)];
    tool_info *tool = start_client(
        [](const request_view &request) {
            const auto &row = rows[request.transac_id];
            const int nth = ++sends[request.transac_id];
            return nth == row.success ? answers{"Success"} : answers(nth <= row.acks ? 1 : 0, "Rx Ack");
        },
        every_ms);
    request_record unheeded(callers, BB_REQ_NO_WAIT, 100);
    EXPECT_EQ(send(tool, &unheeded), 0u);
    std::vector<std::jthread> threads;
    for (uint32_t id = 0; id < callers; id++) {
        threads.emplace_back([=] {
            request_record req(id, 0, rows[id].interval);
            EXPECT_EQ(send(tool, &req), rows[id].success != 0 ? 0 : DIAG_ERR_INVALID_ARG);
            const std::string counted = " after " + std::to_string(sends[id]) + " sends in ";
            EXPECT_TRUE(rows[id].success != 0 || strstr(diag_reason(), counted.c_str()) != nullptr)
                << diag_reason();
            EXPECT_GE(sends[id], id == 0 ? 3 : rows[id].acks + 3 * (rows[id].success == 0)) << id;
        });
    }
    threads.clear();
    EXPECT_EQ(sends[0], 3);
    EXPECT_GT(sends[callers], 3);
}

TEST(Request, AFrameCutShortCostsTheRequestUnderWayAndNoOther)
{
    static std::atomic<int> spoiled, handled;
    datagram_handler = [](tool_info *client, void *argument) {
        client->rx_state = ++handled == 1 ? 65535 : client->rx_state; // refuses the first datagram
        busbroker_rx_state_machine(client, argument);
        return 0x77u; // says nothing of the machine
    };
    tool_info *tool = start_client(
        [](const request_view &request) {
            const std::string whole = response_frame(request, "Success"),
                              other = response_frame({request.transac_id + 1, 0, ""}, "No");
            if (request.transac_id == 1 && ++spoiled == 1) { // announces 65535 characters of data
                return answers{"!" + whole.substr(0, 43) + "ffff00", "Success"};
            }
            return answers{"!" + other, "!" + whole.substr(0, 40), "!" + whole.substr(40)};
        },
        every_ms);
    for (uint32_t id = 0; id < 20; id++) {
        request_record req(id, 0, id < 2 ? 10'000 : 60'000);
        EXPECT_EQ(told(id == 1 ? DIAG_ERR_INVALID_ARG : 0, [&] { return send(tool, &req); }),
                  id == 0 ? "Error with the state machine info or the input event is invalid \n" : "");
    }
}

TEST(Request, RefusesAnIdThatIsPendingAndTheChildOfAFork)
{
    tool_info *tool = start_client([](const request_view &) { return answers{}; }, every_100_ms);
    request_record req(7, BB_REQ_NO_WAIT);
    EXPECT_EQ(send(tool, &req), 0u);
    req.transac_id = 7;
    EXPECT_EQ(told(DIAG_ERR_INVALID_ARG, [&] { return send(tool, &req); }),
              error_line("request_busbroker", "Transaction id 7 is pending already\n"));
    EXPECT_EQ(req.transac_id, 8u);
    const std::string owner = "run in process " + std::to_string(getpid()) + ", not in ";
    const auto refused = [&](uint32_t status) {
        return status == DIAG_ERR_INVALID_ARG && strstr(diag_reason(), owner.c_str()) != nullptr;
    };
    tool_info *own = new_client(); // with a transmit thread of the program's own
    const auto transmit = [](void *client) { return client; };
    EXPECT_EQ(create_sock_threads(nullptr, nullptr, own, transmit, sock_rx_thread, 0), 0u);
    pthread_join(own->tx_thread, nullptr);
    EXPECT_EXIT(_exit(refused(send(tool, &req)) && refused(send(own, &req)) &&
                              refused(queue_tx_buf(tool, strdup("x"), 1, 0, 0, 9)) &&
                              refused(check_resp_buf(tool, 7, nullptr))
                          ? 0
                          : 1),
                testing::ExitedWithCode(0), "");
    EXPECT_EQ(tool->tx_queue->next, nullptr);
}

TEST(Request, TellsOnceThatNothingSendsOrAges)
{
    tool_info *const clients[] = {new_client(), new_client(), new_client()};
    for (tool_info *tool : {clients[1], clients[2]}) {
        tool->sock_cfg.port = ntohs(clients[0]->sock_cfg.sock_addr.sin_port); // where nobody reads
        EXPECT_EQ(create_sock_threads(nullptr, nullptr, tool, sock_tx_thread, sock_rx_thread, 1), 0u);
    }
    std::string told = console_of([&] {
        std::vector<std::jthread> threads;
        for (uint32_t id = 0; id < 4; id++) {
            threads.emplace_back([id, tool = clients[id / 2]] {
                request_record req(id);
                EXPECT_EQ(send(tool, &req), 0u);
            });
        }
        request_record unheeded(4, BB_REQ_NO_WAIT);
        EXPECT_EQ(send(clients[2], &unheeded), 0u);
        for (uint32_t id = 0; id < 5; id++) {
            tool_info *tool = clients[id / 2];
            await([=] { return std::atomic_ref(tool->has_told_no_tick) != 0; });
            EXPECT_EQ(enqueue_rx_queues(tool, BB_RESP_SUCCESS, id, nullptr, 0), 0u);
        }
    });
    std::erase_if(told, [](char c) { return isdigit(c) != 0; });
    std::istringstream in(told);
    std::set<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        EXPECT_TRUE(lines.insert(line).second) << "once";
    }
    EXPECT_EQ(lines, (std::set<std::string>{
                         "No tick of a periodic timer comes: request  is not sent again",
                         "No tick of a periodic timer comes: request  will wait for a lost answer for ever",
                         "The client has no transmit thread: request  is not sent"}));
}
