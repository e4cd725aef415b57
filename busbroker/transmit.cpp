/* SPDX-License-Identifier: MIT */
// Sending the queued requests: one pass over the transmit queue, and the thread that runs it on every tick.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

#include <boarddiag/timer.h>

#include "busbroker/futex.h"
#include "busbroker/queues.h"
#include "core/fifo_run.h"
#include "core/report.h"

namespace {

constexpr uint32_t shortest_interval_ms = 100; // one tick; an interval of 0 counts as this
constexpr uint32_t shortest_last_wait_ms = 1000;
constexpr int max_skipped = 5;
constexpr int32_t every_tick = 1;

// A datagram goes out whole or not at all; a stream takes what it has room for, or what it took before a
// signal came.
bool send_frame(const tool_info *tool, const busbroker_tx_node *node)
{
    const auto *address = reinterpret_cast<const sockaddr *>(&tool->sock_cfg.sock_addr);
    size_t done = 0;
    ssize_t sent = 0;

    do {
        sent = sendto(tool->sock_fd, node->frame + done, node->length - done, MSG_NOSIGNAL, address,
                      sizeof tool->sock_cfg.sock_addr);
        done += sent > 0 ? static_cast<size_t>(sent) : 0;
    } while (sent < 0 ? errno == EINTR : done < node->length);
    return sent >= 0;
}

void note_send(busbroker_call *call, int error)
{
    if (call != nullptr) {
        call->first_sent_ms = call->sends++ == 0 ? boarddiag::now_ms() : call->first_sent_ms;
        call->send_error = error;
    }
}

void send_request(const tool_info *tool, busbroker_tx_node *node, busbroker_call *call)
{
    const int error = send_frame(tool, node) ? 0 : errno;

    if (error != 0) {
        REPORT_ERROR("sock_tx_thread", "Error while trying to send data with errcode %d\n", error);
    }
    note_send(call, error);
    node->send_count = static_cast<uint8_t>(node->send_count + (error == 0 ? 1 : 2));
    node->countdown = node->interval != 0 ? node->interval : shortest_interval_ms;
    if (node->send_count > boarddiag::max_vain_sends && (node->flags & BB_REQ_NO_WAIT) == 0) {
        node->countdown = std::max(node->countdown, shortest_last_wait_ms);
    }
}

// A request that waits no more holds back nobody: it was sent in vain three times and its caller only has to
// learn so, or its answer is filed and its caller is on the way to take it.
bool stands_aside(tool_info *tool, const busbroker_tx_node &node, const busbroker_call *call)
{
    if ((node.flags & BB_REQ_NO_WAIT) != 0) {
        return false;
    }
    if (boarddiag::is_exhausted(node)) {
        boarddiag::wake_sleepers(boarddiag::response_wake(tool, node.transac_id));
        return true;
    }
    return call != nullptr && call->answered;
}

// Whoever waits for an answer notices by itself that no tick comes. For requests that nobody waits for the
// transmit thread watches until the first tick: how long it may sleep, 0 for as long as nobody wakes it. The
// caller holds tx_mutex.
uint32_t watch_for_tick(tool_info *tool, int64_t *since_ms)
{
    if (tool->aged != 0 || tool->tx_queue == nullptr || tool->calls != nullptr ||
        tool->has_told_no_tick != 0) {
        *since_ms = 0;
        return 0;
    }
    const int64_t now = boarddiag::now_ms();
    *since_ms = *since_ms != 0 ? *since_ms : now;
    if (now - *since_ms < boarddiag::longest_without_tick_ms) {
        return boarddiag::longest_without_tick_ms;
    }
    diag_print(0, "No tick of a periodic timer comes: request %u is not sent again\n",
               tool->tx_queue->transac_id);
    std::atomic_ref(tool->has_told_no_tick).store(1);
    return 0;
}

} // namespace

void boarddiag::note_owner(tool_info *tool)
{
    std::atomic_ref(tool->owner_pid).store(getpid());
}

void boarddiag::note_transmitter(tool_info *tool)
{
    note_owner(tool);
    std::atomic_ref(tool->is_transmitting).store(1);
}

bool boarddiag::is_transmitting(tool_info *tool)
{
    return std::atomic_ref(tool->is_transmitting).load() != 0;
}

void boarddiag::send_due_requests(tool_info *tool)
{
    int skipped = 0;

    if (std::atomic_ref(tool->timeout_flag).exchange(0) != 0) {
        busbroker_tx_queue_timeout_update(tool);
    }
    for (busbroker_tx_node *node = tool->tx_queue; node != nullptr && skipped < max_skipped;
         node = node->next) {
        busbroker_call *call = *find_call(tool, node->transac_id);
        if (stands_aside(tool, *node, call)) {
            continue;
        }
        if (node->countdown == 0) {
            send_request(tool, node, call);
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
    boarddiag::note_transmitter(tool);
    for (int64_t without_tick_since_ms = 0;;) {
        const uint32_t seen = boarddiag::wake_count(tool->tx_wake);
        pthread_mutex_lock(&tool->tx_mutex);
        boarddiag::send_due_requests(tool);
        const uint32_t limit_ms = watch_for_tick(tool, &without_tick_since_ms);
        pthread_mutex_unlock(&tool->tx_mutex);
        if (limit_ms != 0) {
            boarddiag::sleep_on(tool->tx_wake, seen, limit_ms);
        } else {
            boarddiag::sleep_on(tool->tx_wake, seen);
        }
    }
}
