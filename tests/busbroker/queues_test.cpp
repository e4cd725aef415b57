/* SPDX-License-Identifier: MIT */
// The queues and the transmit pass, without threads.
#include <atomic>
#include <csignal>
#include <cstring>

#include "busbroker/loopback.h"
#include "busbroker/queues.h"

namespace {

void queue(tool_info *tool, uint32_t id, uint8_t flags = 0, uint32_t interval = 200)
{
    const std::string frame = std::to_string(id) + " ";
    EXPECT_EQ(queue_tx_buf(tool, strdup(frame.c_str()), uint32_t(frame.size()), interval, flags, id), 0u);
}

uint32_t file(tool_info *tool, uint8_t status, uint32_t id, const char *bytes = "")
{
    return enqueue_rx_queues(tool, status, id, reinterpret_cast<uint8_t *>(strdup(bytes)),
                             uint32_t(strlen(bytes)));
}

// The frames that passes send, one for each tick and one before the first.
std::string pass(tool_info *tool, int ticks = 0)
{
    char buffer[16];
    boarddiag::send_due_requests(tool);
    for (int i = 0; i < ticks; i++) {
        timeout_update(tool);
        boarddiag::send_due_requests(tool);
    }
    std::string sent;
    for (ssize_t n; (n = recv(tool->sock_fd, buffer, sizeof buffer, MSG_DONTWAIT)) > 0;) {
        sent.append(buffer, size_t(n));
    }
    return sent;
}

} // namespace

TEST(Queues, WaitingRequestHoldsBackUntilAnsweredOrGivenUp)
{
    tool_info *tool = new_client();
    int32_t no_socket = -1;
    EXPECT_EQ(queue_tx_buf(nullptr, strdup("released"), 8, 0, 0, 1), DIAG_ERR_INVALID_ARG);
    queue(tool, 1);
    queue(tool, 2);
    // A program may make a node itself: it is its eight public fields and nothing behind them.
    static_assert(sizeof(busbroker_tx_node) == offsetof(busbroker_tx_node, next) + sizeof(void *));
    auto *&made = tool->tx_queue->next->next =
        static_cast<busbroker_tx_node *>(malloc(sizeof *tool->tx_queue));
    *made = {strdup("3 "), 3, 2, 0, 0, 0, 0, nullptr};
    busbroker_call caller{};
    caller.transac_id = 2;
    caller.resp_room = sizeof "bytes";
    tool->calls = &caller;
    EXPECT_EQ(pass(tool), "1 ");
    EXPECT_EQ(file(tool, BB_RESP_FAILED, 1), 0u);
    EXPECT_EQ(pass(tool, 4), "1 1 ") << "an answered request that nobody waits for goes on";
    EXPECT_EQ(pass(tool, 9), "") << "the last wait is at least a second";
    EXPECT_EQ(pass(tool, 1), "2 ") << "after three sends and their time";
    EXPECT_EQ(pass(tool, 2), "2 ");
    EXPECT_EQ(file(tool, BB_RESP_ACK, 2), 0u);
    EXPECT_EQ(pass(tool, 6), "2 2 2 ") << "an acknowledgement starts the count anew";
    EXPECT_EQ(file(tool, BB_RESP_SUCCESS, 2, "bytes"), 0u);
    EXPECT_EQ(pass(tool, 1), "3 3 ") << "an interval of 0 is one tick";
    std::swap(tool->sock_fd, no_socket);
    EXPECT_EQ(console_of([&] { pass(tool, 1); }),
              error_line("sock_tx_thread", "Error while trying to send data with errcode 9\n"));
    EXPECT_EQ(made->send_count, 4) << "a failed send counts twice";
    EXPECT_EQ(enqueue_rx_queues(tool, BB_RESP_ACK, 2, nullptr, 0), 0u) << "leaves the bytes of the success";
    char buf[8] = "";
    EXPECT_EQ(check_resp_buf(tool, 2, reinterpret_cast<uint8_t *>(buf)), 0u);
    EXPECT_STREQ(buf, "bytes");
    tool->calls = nullptr;
    EXPECT_EQ(check_resp_buf(tool, 1, nullptr), DIAG_ERR_INVALID_ARG);
    EXPECT_STREQ(diag_reason(), "the bus broker's answer has the status 0x40")
        << "which comes before giving up";
    pass(tool, 10);
    EXPECT_EQ(check_resp_buf(tool, 3, nullptr), DIAG_ERR_INVALID_ARG) << "given up";
    EXPECT_TRUE(std::string(diag_reason()).starts_with("no answer from 127.0.0.1:")) << diag_reason();
    EXPECT_EQ(file(tool, BB_RESP_SUCCESS, 2, "late"), 0u);
    EXPECT_TRUE(tool->tx_queue == nullptr && tool->rx_queue == nullptr);
    EXPECT_EQ(check_resp_buf(tool, 2, nullptr), DIAG_ERR_INVALID_ARG);
    EXPECT_STREQ(diag_reason(), "no request with the transaction id 2 is queued");
}

TEST(Queues, StreamGetsWholeFramesWhateverInterruptsAndHoweverSlowItsReader)
{
    static std::atomic<uint32_t> ticks;
    tool_info *tool = new_client();
    sock_cfg cfg = {0, 0, 1, "127.0.0.1", 0, {}};
    int32_t listener = -1;
    EXPECT_EQ(create_socket(&cfg, &listener, 0), 0u);
    EXPECT_EQ(listen(listener, 1), 0);
    socklen_t size = sizeof cfg.sock_addr;
    getsockname(listener, reinterpret_cast<sockaddr *>(&cfg.sock_addr), &size);
    cfg.port = ntohs(cfg.sock_addr.sin_port);
    EXPECT_EQ(create_socket(&cfg, &tool->sock_fd, 1), 0u);
    std::string expected, got;
    sigset_t all; // kept from the reader; init_timer() makes another mask for this thread
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, nullptr);
    std::thread reader([&, fd = accept(listener, nullptr, nullptr)] {
        char bytes[65536]; // a piece for each tick
        for (ssize_t n; (n = read(fd, bytes, sizeof bytes)) > 0; got.append(bytes, size_t(n))) {
            await([seen = ticks.load()] { return ticks != seen; });
        }
    });
    timer_t timer;
    register_timeout_calls(
        1, [](void *) { ++ticks; }, nullptr);
    EXPECT_EQ(init_timer(1, &timer, 0), 0u);
    for (uint32_t id = 1; id <= 3; id++) {
        const std::string frame(4'000'000, char('0' + id));
        expected += frame;
        queue_tx_buf(tool, strdup(frame.c_str()), uint32_t(frame.size()), 60'000, BB_REQ_NO_WAIT, id);
    }
    boarddiag::send_due_requests(tool);
    shutdown(tool->sock_fd, SHUT_WR);
    reader.join();
    EXPECT_TRUE(got == expected) << got.size();
    queue(tool, 4); // no signal comes of a stream that takes nothing any more
    EXPECT_EQ(console_of([&] { boarddiag::send_due_requests(tool); }),
              error_line("sock_tx_thread", "Error while trying to send data with errcode 32\n"));
    forget_requests(tool);
}

TEST(Queues, PassSkipsFewerThanFiveRequestsThatNobodyWaitsFor)
{
    tool_info *tool = new_client();
    for (uint32_t id = 1; id <= 6; id++) {
        queue(tool, id, BB_REQ_NO_WAIT, id <= 2 ? 100 : 1000);
    }
    EXPECT_EQ(pass(tool), "1 2 3 4 5 6 ") << "those just sent do not count as skipped";
    queue(tool, 7);
    EXPECT_EQ(pass(tool), "");
    EXPECT_EQ(pass(tool, 1), "1 2 7 ");
    EXPECT_EQ(pass(tool, 4), "1 2 1 2 7 1 2 1 2 7 ") << "without end";
    forget_requests(tool);
}

TEST(Queues, EveryTickIsTakenAndAgesCountdowns)
{
    tool_info *tool = new_client();
    EXPECT_EQ(create_thread(&tool->tx_thread, nullptr, sock_tx_thread, tool), 0u);
    await([=] { return std::atomic_ref(tool->is_transmitting) != 0; });
    for (int tick = 0; tick < 3; tick++) { // with nothing queued
        timeout_update(tool);
        await([=] { return std::atomic_ref(tool->timeout_flag) == 0; });
    }
    busbroker_tx_node node = {nullptr, 1, 0, 250, 0, 0, 0, nullptr};
    tool_info idle{};
    idle.tx_queue = &node;
    for (const uint32_t expected : {150u, 50u, 100u, 0u, 0u}) {
        busbroker_tx_queue_timeout_update(&idle);
        EXPECT_EQ(node.countdown, expected);
    }
}

TEST(Receive, EndsTheProcessOnAnEmptyDatagramAfterTheLargestOne)
{
    tool_info *tool = new_client();
    const auto send = [&](const std::string &text) {
        sendto(tool->sock_fd, text.data(), text.size(), 0,
               reinterpret_cast<const sockaddr *>(&tool->sock_cfg.sock_addr), sizeof(sockaddr_in));
    };
    send("a\x1b\n");
    set_verb_level(3);
    EXPECT_EQ(told(0, [&] { return receive_from_socket(tool); }), "Rx data of len 3 is a\\x1b\\n\n");
    set_verb_level(0);
    send(std::string(5000, 'x'));
    EXPECT_EQ(receive_from_socket(tool), 0u);
    EXPECT_EQ(strlen(reinterpret_cast<char *>(tool->rx_buf)), 4096u);
    send("");
    EXPECT_EXIT(sock_rx_thread(tool), testing::ExitedWithCode(255), "");
}
