/* SPDX-License-Identifier: MIT */
// A client under load, set up as a program does it, through the simulated broker that loses, doubles, delays
// and reorders its answers.
#include <atomic>
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <malloc.h>
#include <thread>

#include <boarddiag.h>

#include "support/sim_board.h"
#include "support/sim_broker.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr uint32_t requests = 2000; // instrumented code is slow
#else
constexpr uint32_t requests = 10'000;
#endif
constexpr uint32_t callers = 8;
constexpr uint32_t retry_ms = 500; // five ticks, of 1 ms here
constexpr size_t slack = 100'000;  // bytes; one lost text a request is more

// The client lives, as in a program, until the process ends.
tool_info *start_client(uint16_t port)
{
    static auto *tool = new tool_info{};
    tool->tool_id = 3;
    tool->inst_id = 1;
    tool->rx_handler = busbroker_rx_state_machine;
    tool->rx_complete = busbroker_parse_update_queues;
    tool->rx_stateinfo = &busbroker_rx_stateinfo;
    pthread_mutex_init(&tool->tx_mutex, nullptr);
    pthread_mutex_init(&tool->rx_mutex, nullptr);
    const std::string text = "<broker><ip>127.0.0.1</ip><PortNo>" + std::to_string(port) +
                             "</PortNo><inetfamily>ipv4</inetfamily><maxsockcnt>8</maxsockcnt>"
                             "<sock_type>udp</sock_type></broker>";
    const xmlDocPtr doc = xmlReadMemory(text.data(), int(text.size()), "broker", nullptr, 0);
    EXPECT_EQ(parse_socket_cfg(xmlDocGetRootElement(doc), &tool->sock_cfg, 1, nullptr), 0u);
    xmlFreeDoc(doc);
    timer_t timer{};
    EXPECT_EQ(init_timer(1, &timer, 0), 0u);
    EXPECT_EQ(create_sock_threads(nullptr, nullptr, tool, sock_tx_thread, sock_rx_thread, 1), 0u);
    return tool;
}

std::atomic<uint32_t> succeeded{0};

// Writes four bytes of its own and reads them back. A request may fail, abandoned, but never with other
// bytes.
void write_and_read(tool_info *tool, busbroker_req_resp *req, uint32_t place)
{
    uint32_t bytes = ~place;
    uint32_t got = 0;
    const auto send = [&](int32_t type, uint32_t *data) {
        update_busbroker_req_fields(req, 4 * place, 4, 8, reinterpret_cast<uint8_t *>(data), 0, type, 1,
                                    nullptr, 0);
        const uint32_t status = request_busbroker(req, tool, "cpu0", "mem", 0, uint32_t(type), 5);
        EXPECT_TRUE(status == 0 || status == DIAG_ERR_INVALID_ARG) << status;
        succeeded += status == 0;
        return status;
    };
    const uint32_t written = send(BB_REQ_WRITE, &bytes);
    const uint32_t read = send(BB_REQ_READ, &got);
    EXPECT_TRUE(got == bytes || (got == 0 && (written != 0 || read != 0)))
        << std::hex << got << " at " << place;
}

void load(tool_info *tool, uint32_t first, uint32_t count)
{
    std::vector<std::thread> threads;
    for (uint32_t caller = 0; caller < callers; caller++) {
        threads.emplace_back([=] {
            busbroker_req_resp req{};
            req.transac_id = caller << 24 | 2 * first;
            req.retry_ms = retry_ms;
            for (uint32_t round = first; round < first + count; round++) {
                write_and_read(tool, &req, caller << 16 | round);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    pthread_mutex_lock(&tool->tx_mutex);
    pthread_mutex_lock(&tool->rx_mutex);
    EXPECT_TRUE(tool->tx_queue == nullptr && tool->rx_queue == nullptr);
    pthread_mutex_unlock(&tool->rx_mutex);
    pthread_mutex_unlock(&tool->tx_mutex);
}

} // namespace

TEST(Load, EachCallerGetsItsOwnBytesFromAnUnreliableBroker)
{
    constexpr uint32_t rounds = requests / callers / 2;
    const diagtest::sim_board board;
    diagtest::sim_broker broker({"--seed=4", "--lose=5", "--double=5", "--delay=5:8", "--reorder=5"});
    tool_info *tool = start_client(broker.port);
    load(tool, 0, rounds / 5);
    const size_t before = mallinfo2().uordblks; // 0 with a sanitizer, which finds leaks itself
    load(tool, rounds / 5, rounds - rounds / 5);
    EXPECT_LT(mallinfo2().uordblks, before + slack);
    EXPECT_GT(succeeded, requests / 10 * 9);
    const auto counts = broker.stop();
    for (const char *fault : {"lost", "doubled", "delayed", "reordered"}) {
        EXPECT_GT(counts.at(fault), requests / 100) << fault;
    }
    EXPECT_GE(counts.at("good"), requests);
    EXPECT_EQ(counts.at("good"), counts.at("received"));
}

TEST(Load, UnansweredRequestFailsAfterThreeSends)
{
    const diagtest::sim_board board;
    diagtest::sim_broker broker({"--silent"});
    busbroker_req_resp req{};
    req.retry_ms = retry_ms;
    EXPECT_EQ(request_busbroker(&req, start_client(broker.port), "cpu0", "mem", 0, 0, 5),
              DIAG_ERR_INVALID_ARG);
    EXPECT_EQ(broker.stop().at("received"), 3u);
}
