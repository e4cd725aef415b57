/* SPDX-License-Identifier: MIT */
// The queues and the transmit pass, without threads.
#include <arpa/inet.h>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <boarddiag.h>

#include "busbroker/loopback.h"
#include "busbroker/queues.h"
#include "support/capture.h"

using diagtest::console_of;
using diagtest::new_client;

namespace {

uint8_t *bytes(const char *text)
{
    return reinterpret_cast<uint8_t *>(strdup(text));
}

void queue(tool_info *tool, uint32_t id, uint8_t flags = 0, uint32_t interval = 200)
{
    const std::string frame = std::to_string(id);
    ASSERT_EQ(
        queue_tx_buf(tool, strdup(frame.c_str()), static_cast<uint32_t>(frame.size()), interval, flags, id),
        0u);
}

busbroker_tx_node *node(tool_info *tool, uint32_t id)
{
    busbroker_tx_node *found = tool->tx_queue;
    while (found != nullptr && found->transac_id != id) {
        found = found->next;
    }
    return found;
}

// A client whose socket sends to itself.
tool_info *self_client()
{
    tool_info *tool = new_client();
    tool->sock_cfg = {0, 1, 1, "127.0.0.1", 0, {}};
    EXPECT_EQ(create_socket(&tool->sock_cfg, &tool->sock_fd, 0), 0u);
    socklen_t size = sizeof tool->sock_cfg.sock_addr;
    getsockname(tool->sock_fd, reinterpret_cast<sockaddr *>(&tool->sock_cfg.sock_addr), &size);
    return tool;
}

// The frames that one pass sends, after a tick if told so.
std::string pass(tool_info *tool, bool tick = false)
{
    std::string sent;
    char buffer[16];

    if (tick) {
        timeout_update(tool);
    }
    boarddiag::send_due_requests(tool);
    for (ssize_t n; (n = recv(tool->sock_fd, buffer, sizeof buffer, MSG_DONTWAIT)) > 0;) {
        sent += std::string(buffer, static_cast<size_t>(n)) + " ";
    }
    return sent;
}

void empty(tool_info *tool)
{
    while (tool->tx_queue != nullptr) {
        deque_tool_request(tool, tool->tx_queue->transac_id);
    }
    while (tool->rx_queue != nullptr) {
        deque_tool_response(tool, tool->rx_queue->transac_id);
    }
}

} // namespace

TEST(Queues, WaitingRequestHoldsBackUntilAnsweredOrGivenUp)
{
    tool_info *tool = self_client();
    queue(tool, 1);
    queue(tool, 2);
    queue(tool, 3, 0, 0);
    EXPECT_EQ(pass(tool), "1 ");
    EXPECT_EQ(pass(tool), "");
    EXPECT_EQ(enqueue_rx_queues(tool, BB_RESP_ACK, 1, nullptr, 0), 0u);
    EXPECT_EQ(pass(tool, true), "");
    EXPECT_EQ(pass(tool, true), "1 ");
    EXPECT_EQ(enqueue_rx_queues(tool, BB_RESP_FAILED, 1, nullptr, 0), 0u);
    EXPECT_EQ(pass(tool), "2 ") << "the answered request is neither sent nor waited for";
    EXPECT_EQ(pass(tool, true) + pass(tool, true) + pass(tool, true) + pass(tool, true), "2 2 ");
    EXPECT_EQ(pass(tool, true) + pass(tool, true), "3 ") << "three sends, then its time is over";
    EXPECT_EQ(pass(tool, true), "3 ") << "an interval of 0 is one tick";
    uint8_t none = 0;
    EXPECT_EQ(check_resp_buf(tool, 2, &none), DIAG_ERR_INVALID_ARG);
    EXPECT_EQ(node(tool, 2), nullptr);
    EXPECT_EQ(check_resp_buf(tool, 1, &none), DIAG_ERR_INVALID_ARG);
    EXPECT_EQ(tool->rx_queue, nullptr);
    empty(tool);
}

TEST(Queues, PassSkipsFewerThanFiveRequestsThatNobodyWaitsFor)
{
    tool_info *tool = self_client();
    for (uint32_t id = 1; id <= 6; id++) {
        queue(tool, id, BB_REQ_NO_WAIT, id == 1 ? 100 : 1000);
    }
    queue(tool, 7);
    EXPECT_EQ(pass(tool), "1 2 3 4 5 6 7 ") << "those just sent do not count as skipped";
    empty(tool);
    for (uint32_t id = 1; id <= 5; id++) {
        queue(tool, id, BB_REQ_NO_WAIT, id == 1 ? 100 : 1000);
    }
    EXPECT_EQ(pass(tool), "1 2 3 4 5 ");
    queue(tool, 7);
    EXPECT_EQ(pass(tool), "");
    EXPECT_EQ(pass(tool, true), "1 7 ");
    for (int tick = 0; tick < 5; tick++) {
        EXPECT_EQ(pass(tool, true).substr(0, 2), "1 ") << "without end";
    }
    empty(tool);
}

TEST(Queues, FailedSendCountsTwice)
{
    tool_info *tool = new_client();
    tool->sock_fd = -1;
    queue(tool, 1);
    EXPECT_EQ(console_of([&] { boarddiag::send_due_requests(tool); }),
              diagtest::error_line("sock_tx_thread", "Error while trying to send data with errcode 9\n"));
    EXPECT_EQ(tool->tx_queue->send_count, 2);
    EXPECT_EQ(tool->tx_queue->countdown, 200u);
    empty(tool);
}

TEST(Queues, TickWakesOnlyForQueuedRequestsAndAgesCountdowns)
{
    tool_info *tool = new_client();
    timeout_update(nullptr);
    timeout_update(tool);
    EXPECT_EQ(tool->timeout_flag, 1);
    EXPECT_EQ(tool->tx_wake, 0u);
    queue(tool, 1);
    const uint32_t queued = tool->tx_wake;
    timeout_update(tool);
    EXPECT_NE(tool->tx_wake, queued);
    tool->tx_queue->countdown = 250;
    for (const uint32_t expected : {150u, 50u, 100u, 0u, 0u}) {
        busbroker_tx_queue_timeout_update(tool);
        EXPECT_EQ(tool->tx_queue->countdown, expected);
    }
    empty(tool);
}

TEST(Queues, StatusesAccumulateAndNewBytesReplaceOldOnes)
{
    tool_info *tool = new_client();
    uint8_t buf[8] = {};
    queue(tool, 1);
    queue(tool, 2);
    EXPECT_EQ(enqueue_rx_queues(tool, BB_RESP_ACK, 1, bytes("old"), 3), 0u);
    EXPECT_EQ(enqueue_rx_queues(tool, BB_RESP_ACK, 2, nullptr, 0), 0u);
    EXPECT_EQ(tool->rx_queue->transac_id, 2u) << "the newest stands first";
    EXPECT_EQ(enqueue_rx_queues(tool, BB_RESP_SUCCESS, 1, bytes("fresh"), 5), 0u);
    EXPECT_EQ(tool->rx_queue->next->status, BB_RESP_ACK | BB_RESP_SUCCESS);
    EXPECT_EQ(enqueue_rx_queues(tool, BB_RESP_SUCCESS, 9, bytes("nobody's"), 8), 0u);
    EXPECT_EQ(tool->rx_queue->next->next, nullptr);
    EXPECT_EQ(check_resp_buf(tool, 1, buf), 0u);
    EXPECT_STREQ(reinterpret_cast<char *>(buf), "fresh");
    EXPECT_EQ(console_of([&] { EXPECT_EQ(check_resp_buf(tool, 1, buf), DIAG_ERR_INVALID_ARG); }), "");
    set_verb_level(2);
    EXPECT_EQ(console_of([&] { check_resp_buf(tool, 1, buf); }), "Request not found in the Tx queues\n");
    EXPECT_EQ(console_of([&] { deque_tool_request(tool, 1); }), "Request not found in the tx queues\n");
    EXPECT_EQ(console_of([&] { deque_tool_response(tool, 1); }), "Request not found in the rx queues\n");
    empty(tool);
}

TEST(Queues, OutcomeOfARequest)
{
    static const struct {
        uint8_t flags, status, send_count;
        uint32_t result;
        bool stays;
    } rows[] = {
        {0, BB_RESP_SUCCESS, 0, 0, false},
        {0, BB_RESP_SUCCESS | BB_RESP_FAILED, 0, 0, false},
        {BB_REQ_ACK_DONE, BB_RESP_ACK, 0, 0, false},
        {0x04, BB_RESP_NOT_FOUND, 0, DIAG_ERR_INVALID_ARG, false},
        {0, BB_RESP_FORMAT_ERROR | BB_RESP_ACK, 0, DIAG_ERR_INVALID_ARG, false},
        {0, 0x04, 0, DIAG_ERR_INVALID_ARG, false},
        {0, BB_RESP_ACK, 3, DIAG_ERR_INVALID_ARG, false}, // given up
        {0, BB_RESP_SUCCESS, 3, 0, false},                // but not before its answer is taken
        {BB_REQ_NO_WAIT, BB_RESP_FAILED, 0, 0, true},
    };
    for (const auto &row : rows) {
        tool_info *tool = new_client();
        queue(tool, 5, row.flags);
        tool->tx_queue->send_count = row.send_count;
        enqueue_rx_queues(tool, row.status, 5, nullptr, 0);
        EXPECT_EQ(check_resp_buf(tool, 5, nullptr), row.result) << int{row.flags} << " " << int{row.status};
        EXPECT_EQ(tool->tx_queue != nullptr, row.stays);
        EXPECT_EQ(tool->rx_queue != nullptr, row.stays);
        empty(tool);
    }
}

TEST(Receive, StoresTheLargestDatagramAndEndsOnAnEmptyOne)
{
    tool_info *tool = self_client();
    const auto *address = reinterpret_cast<const sockaddr *>(&tool->sock_cfg.sock_addr);
    const std::string big(5000, 'x');
    sendto(tool->sock_fd, big.data(), big.size(), 0, address, sizeof(sockaddr_in));
    tool->rx_buf[4096] = 'y';
    EXPECT_EQ(receive_from_socket(tool), 0u);
    EXPECT_EQ(tool->rx_len, 4096u);
    EXPECT_STREQ(reinterpret_cast<char *>(tool->rx_buf), big.substr(0, 4096).c_str());
    sendto(tool->sock_fd, "", 0, 0, address, sizeof(sockaddr_in));
    EXPECT_EQ(console_of([&] { EXPECT_EQ(receive_from_socket(tool), DIAG_ERR_INVALID_ARG); }),
              "Desination socket dropped\n");
    sendto(tool->sock_fd, "", 0, 0, address, sizeof(sockaddr_in));
    EXPECT_EXIT(sock_rx_thread(tool), testing::ExitedWithCode(255), "");
}
