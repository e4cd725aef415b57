/* SPDX-License-Identifier: MIT */
// Sending the queued requests: one pass over the transmit queue, and the thread that runs it on every tick.
#include <atomic>
#include <cerrno>
#include <sys/socket.h>

#include <boarddiag/timer.h>

#include "busbroker/futex.h"
#include "busbroker/queues.h"
#include "core/report.h"

namespace {

constexpr uint32_t shortest_interval_ms = 100; // one tick; an interval of 0 counts as this
constexpr int max_skipped = 5;
constexpr int32_t every_tick = 1;

ssize_t send_frame(const tool_info *tool, const busbroker_tx_node *node)
{
    const auto *address = reinterpret_cast<const sockaddr *>(&tool->sock_cfg.sock_addr);
    ssize_t sent = 0;

    do {
        sent = sendto(tool->sock_fd, node->frame, node->length, MSG_NOSIGNAL, address,
                      sizeof tool->sock_cfg.sock_addr);
    } while (sent < 0 && errno == EINTR);
    return sent;
}

void send_request(const tool_info *tool, busbroker_tx_node *node)
{
    node->countdown = node->interval != 0 ? node->interval : shortest_interval_ms;
    if (send_frame(tool, node) >= 0) {
        node->send_count = static_cast<uint8_t>(node->send_count + 1);
        return;
    }
    REPORT_ERROR("sock_tx_thread", "Error while trying to send data with errcode %d\n", errno);
    node->send_count = static_cast<uint8_t>(node->send_count + 2);
}

// A request that waits no more holds back nobody: its answer is filed, or it was sent in vain three times and
// its caller only has to learn so.
bool stands_aside(tool_info *tool, const busbroker_tx_node &node)
{
    if ((node.flags & BB_REQ_NO_WAIT) != 0) {
        return false;
    }
    const bool exhausted = boarddiag::is_exhausted(node);
    if (exhausted) {
        boarddiag::wake_sleepers(boarddiag::response_wake(tool, node.transac_id));
    }
    return exhausted || node.answered != 0;
}

} // namespace

bool boarddiag::is_transmitting(tool_info *tool)
{
    return std::atomic_ref(tool->tx_started).load() != 0;
}

void boarddiag::send_due_requests(tool_info *tool)
{
    int skipped = 0;

    if (std::atomic_ref(tool->timeout_flag).exchange(0) != 0) {
        busbroker_tx_queue_timeout_update(tool);
    }
    for (busbroker_tx_node *node = tool->tx_queue; node != nullptr && skipped < max_skipped;
         node = node->next) {
        if (stands_aside(tool, *node)) {
            continue;
        }
        if (node->countdown == 0) {
            send_request(tool, node);
        } else if ((node->flags & BB_REQ_NO_WAIT) != 0) {
            skipped++;
        }
        if ((node->flags & BB_REQ_NO_WAIT) == 0) {
            return;
        }
    }
}

void *sock_tx_thread(void *arg)
{
    auto *tool = static_cast<tool_info *>(arg);

    if (tool == nullptr) {
        REPORT_ERROR(__func__, "Socket tx thread received a NULL ptr as tool info. Exiting thread \n");
        return nullptr;
    }
    diag_print(3, "Registering for timeout calls\n");
    register_timeout_calls(every_tick, timeout_update, tool);
    std::atomic_ref(tool->tx_started).store(1);
    for (;;) {
        const uint32_t seen = boarddiag::wake_count(tool->tx_wake);
        pthread_mutex_lock(&tool->tx_mutex);
        boarddiag::send_due_requests(tool);
        pthread_mutex_unlock(&tool->tx_mutex);
        while (boarddiag::wake_count(tool->tx_wake) == seen) {
            boarddiag::sleep_on(tool->tx_wake, seen);
        }
    }
}
