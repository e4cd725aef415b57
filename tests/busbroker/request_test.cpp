/* SPDX-License-Identifier: MIT */
// Requests end to end: a client with its threads, and a broker in the test whose answers are scripted.
#include <atomic>
#include <thread>

#include "busbroker/loopback.h"

using diagtest::await;
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
        {BB_REQ_READ, 0,
         "a,b,c,d,No\x1b"
         "device,e",
         "", "", "", "the bus broker answered 'No\\x1bdevice' for cpu0 fpga"},
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
        busbroker_req_resp req = record_of(id++, row.flags);
        req.count = row.type == BB_REQ_READ ? 3 : 1;
        req.resp_buf = reinterpret_cast<uint8_t *>(buf);
        const bool good = row.reason[0] == '\0';
        EXPECT_EQ(diagtest::told(good ? 0 : DIAG_ERR_INVALID_ARG, [&] { return send(tool, &req, row.type); }),
                  row.told);
        EXPECT_TRUE(good || std::string(diag_reason()) == row.reason) << diag_reason();
        EXPECT_EQ(req.transac_id, id);
        EXPECT_STREQ(buf, row.bytes);
        EXPECT_STREQ(req.support_data, ",5a") << "to be looked at, and framed again";
        EXPECT_EQ(strlen(req.data), req.data_len);
        free_req_texts(&req);
    }
    EXPECT_TRUE(diagtest::is_idle(tool));
}

TEST(Request, LostAnswersAreAskedForAgainAndGivenUpAfterThreeSendsInVain)
{
    static const struct {
        uint32_t interval; // a tick of 1 ms takes 100
        int acks, success; // how many sends are acknowledged, and the one that is answered
        int sends;
    } rows[] = {{500, 0, 0, 3}, {20'000, 0, 3, 3}, {0, 0, 3, 3}, {100, 1, 0, 4}, {100, 9, 9, 9}};
    static std::atomic<int> sends[std::size(rows) + 1];
    tool_info *tool = start_client(
        [](const request_view &request) {
            const uint32_t id = request.transac_id;
            const int nth = ++sends[id];
            if (id == std::size(rows)) {
                return answers{}; // the one that nobody waits for
            }
            return nth == rows[id].success ? answers{"Success"}
                                           : answers(nth <= rows[id].acks ? 1 : 0, "Rx Ack");
        },
        every_ms);
    busbroker_req_resp unheeded = record_of(std::size(rows), BB_REQ_NO_WAIT, 100);
    EXPECT_EQ(send(tool, &unheeded, 0), 0u);
    std::vector<std::jthread> callers;
    for (uint32_t id = 0; id < std::size(rows); id++) {
        callers.emplace_back([=] {
            busbroker_req_resp req = record_of(id, 0, rows[id].interval);
            EXPECT_EQ(send(tool, &req, 0), rows[id].success != 0 ? 0 : DIAG_ERR_INVALID_ARG);
            EXPECT_EQ(sends[id], rows[id].sends) << id;
            const auto counted = " after " + std::to_string(rows[id].sends) + " sends in 0.";
            EXPECT_TRUE(rows[id].success != 0 || strstr(diag_reason(), counted.c_str()) != nullptr)
                << diag_reason();
            free_req_texts(&req);
        });
    }
    callers.clear();
    EXPECT_GT(sends[std::size(rows)], 3);
    free_req_texts(&unheeded);
}

TEST(Request, AFrameCutShortCostsTheRequestUnderWayAndNoOther)
{
    static std::atomic<int> handled, spoiled;
    tool_info *tool = start_client(
        [](const request_view &request) {
            const std::string whole = diagtest::response_frame(request, "Success");
            if (request.transac_id == 1 && ++spoiled == 1) { // announces 65535 characters of data
                return answers{"!" + whole.substr(0, 43) + "ffff00", "Success"};
            }
            return answers{"!" + whole.substr(0, 40), "!" + whole.substr(40)};
        },
        every_ms);
    tool->rx_handler = [](tool_info *client, void *argument) { // one that refuses the first datagram
        if (++handled == 1) {
            client->rx_state = 65535;
        }
        busbroker_rx_state_machine(client, argument);
        return 0x77u; // says nothing of the machine
    };
    for (uint32_t id = 0; id < 20; id++) {
        busbroker_req_resp req = record_of(id, 0, 100);
        EXPECT_EQ(console_of([&] { EXPECT_EQ(send(tool, &req, 0), id == 1 ? DIAG_ERR_INVALID_ARG : 0); }),
                  id == 0 ? "Error with the state machine info or the input event is invalid \n" : "");
        free_req_texts(&req);
    }
}

TEST(Request, RefusesAnIdThatIsPendingAndTheChildOfAFork)
{
    tool_info *tool = start_client([](const request_view &) { return answers{}; }, every_100_ms);
    busbroker_req_resp req = record_of(7, BB_REQ_NO_WAIT);
    EXPECT_EQ(send(tool, &req, 0), 0u);
    const busbroker_tx_node *pending = tool->tx_queue;
    req.transac_id = 7;
    EXPECT_EQ(diagtest::told(DIAG_ERR_INVALID_ARG, [&] { return send(tool, &req, 0); }),
              diagtest::error_line("request_busbroker", "Transaction id 7 is pending already\n"));
    EXPECT_EQ(req.transac_id, 8u);
    EXPECT_TRUE(tool->tx_queue == pending && pending->next == nullptr);
    const std::string told = "The threads of this client run in process " + std::to_string(getpid()) + ", ";
    const auto ask = [&] {
        for (const uint32_t status : {send(tool, &req, 0), queue_tx_buf(tool, strdup("x"), 1, 0, 0, 9),
                                      check_resp_buf(tool, 7, nullptr)}) {
            if (status != DIAG_ERR_INVALID_ARG || strstr(diag_reason(), told.c_str()) == nullptr) {
                _exit(1);
            }
        }
        _exit(pending->next == nullptr && req.transac_id == 8 ? 0 : 1);
    };
    EXPECT_EXIT(ask(), testing::ExitedWithCode(0), "");
    free_req_texts(&req);
}

TEST(Request, TellsOnceThatNothingSendsOrAges)
{
    tool_info *const clients[] = {diagtest::new_client(), diagtest::new_client()};
    clients[1]->sock_cfg.port = ntohs(clients[0]->sock_cfg.sock_addr.sin_port); // where nobody reads
    EXPECT_EQ(create_sock_threads(nullptr, nullptr, clients[1], sock_tx_thread, sock_rx_thread, 1), 0u);
    std::string told = console_of([&] {
        std::vector<std::jthread> callers;
        for (const uint32_t id : {1u, 2u}) {
            for (tool_info *tool : clients) {
                callers.emplace_back([=] {
                    busbroker_req_resp req = record_of(id);
                    EXPECT_EQ(send(tool, &req, 0), 0u);
                    free_req_texts(&req);
                });
            }
        }
        for (tool_info *tool : clients) {
            await([=] {
                pthread_mutex_lock(&tool->tx_mutex);
                const bool has_told = tool->has_told_no_tick != 0;
                pthread_mutex_unlock(&tool->tx_mutex);
                return has_told;
            });
            for (const uint32_t id : {1u, 2u}) {
                EXPECT_EQ(enqueue_rx_queues(tool, BB_RESP_SUCCESS, id, nullptr, 0), 0u);
            }
        }
    });
    const std::string messages[] = {
        "The client has no transmit thread: request # is not sent\n",
        "No tick of a periodic timer comes: request # will wait for a lost answer for ever\n"};
    for (size_t at = 0; (at = told.find("request ", at)) != std::string::npos; at += 9) {
        told[at + 8] = '#';
    }
    EXPECT_TRUE(told == messages[0] + messages[1] || told == messages[1] + messages[0]) << told;
}
