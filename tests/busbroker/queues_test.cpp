/* SPDX-License-Identifier: MIT */
// The queues and the transmit pass, without threads.
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
    tool_info *tool = diagtest::new_client();
    int32_t no_socket = -1;
    EXPECT_EQ(queue_tx_buf(nullptr, strdup("released"), 8, 0, 0, 1), DIAG_ERR_INVALID_ARG);
    queue(tool, 1);
    queue(tool, 2);
    queue(tool, 3, 0, 0);
    EXPECT_EQ(pass(tool), "1 ");
    EXPECT_EQ(file(tool, BB_RESP_ACK, 1), 0u);
    EXPECT_EQ(pass(tool, 2), "1 ");
    EXPECT_EQ(file(tool, BB_RESP_FAILED, 1), 0u);
    EXPECT_EQ(pass(tool, 5), "2 2 2 ") << "the answered request is neither sent nor waited for";
    EXPECT_EQ(pass(tool, 1), "3 ") << "after three sends and their time";
    EXPECT_EQ(pass(tool, 1), "3 ") << "an interval of 0 is one tick";
    std::swap(tool->sock_fd, no_socket);
    EXPECT_EQ(diagtest::console_of([&] { pass(tool, 1); }),
              diagtest::error_line("sock_tx_thread", "Error while trying to send data with errcode 9\n"));
    EXPECT_EQ(tool->tx_queue->next->next->send_count, 4) << "a failed send counts twice";
    EXPECT_EQ(check_resp_buf(tool, 1, nullptr), DIAG_ERR_INVALID_ARG);
    pass(tool, 2);
    char buf[8] = "";
    EXPECT_EQ(file(tool, BB_RESP_SUCCESS, 2, "older"), 0u);
    EXPECT_EQ(file(tool, BB_RESP_ACK, 2, "bytes"), 0u);
    tool->tx_queue->bounded = 1, tool->tx_queue->resp_room = sizeof buf; // of a caller that is on its way
    EXPECT_EQ(enqueue_rx_queues(tool, BB_RESP_ACK, 2, nullptr, 0), 0u) << "leaves the bytes of the success";
    EXPECT_EQ(check_resp_buf(tool, 3, nullptr), DIAG_ERR_INVALID_ARG) << "given up";
    EXPECT_EQ(check_resp_buf(tool, 2, reinterpret_cast<uint8_t *>(buf)), 0u) << "a filed answer comes first";
    EXPECT_STREQ(buf, "bytes");
    EXPECT_EQ(file(tool, BB_RESP_SUCCESS, 2, "late"), 0u);
    EXPECT_TRUE(tool->tx_queue == nullptr && tool->rx_queue == nullptr);
}

TEST(Queues, PassSkipsFewerThanFiveRequestsThatNobodyWaitsFor)
{
    tool_info *tool = diagtest::new_client();
    for (uint32_t id = 1; id <= 6; id++) {
        queue(tool, id, BB_REQ_NO_WAIT, id <= 2 ? 100 : 1000);
    }
    EXPECT_EQ(pass(tool), "1 2 3 4 5 6 ") << "those just sent do not count as skipped";
    queue(tool, 7);
    EXPECT_EQ(pass(tool), "");
    EXPECT_EQ(pass(tool, 1), "1 2 7 ");
    EXPECT_EQ(pass(tool, 4), "1 2 1 2 7 1 2 1 2 7 ") << "without end";
    diagtest::forget_requests(tool);
}

TEST(Queues, TickWakesOnlyForQueuedRequestsAndAgesCountdowns)
{
    tool_info *tool = diagtest::new_client();
    timeout_update(tool);
    EXPECT_EQ(tool->tx_wake, 0u);
    queue(tool, 1);
    timeout_update(tool);
    EXPECT_EQ(tool->tx_wake, 2u);
    tool->tx_queue->countdown = 250;
    for (const uint32_t expected : {150u, 50u, 100u, 0u, 0u}) {
        busbroker_tx_queue_timeout_update(tool);
        EXPECT_EQ(tool->tx_queue->countdown, expected);
    }
    diagtest::forget_requests(tool);
}

TEST(Receive, EndsTheProcessOnAnEmptyDatagramAfterTheLargestOne)
{
    tool_info *tool = diagtest::new_client();
    const auto send = [&](const std::string &text) {
        sendto(tool->sock_fd, text.data(), text.size(), 0,
               reinterpret_cast<const sockaddr *>(&tool->sock_cfg.sock_addr), sizeof(sockaddr_in));
    };
    send(std::string(5000, 'x'));
    EXPECT_EQ(receive_from_socket(tool), 0u);
    EXPECT_EQ(strlen(reinterpret_cast<char *>(tool->rx_buf)), 4096u);
    send("");
    EXPECT_EXIT(sock_rx_thread(tool), testing::ExitedWithCode(255), "");
}
