/* SPDX-License-Identifier: MIT */
// The queue of requests to send and the queue of statuses that came back.
#include "busbroker/queues.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "busbroker/futex.h"
#include "busbroker/refusal.h"
#include "core/report.h"

using boarddiag::outcome;
using boarddiag::queued;

namespace {

// The link that holds the first node of the transaction, or the null link at the list's end.
template <typename Node> Node **find_link(Node **link, uint32_t transac_id)
{
    while (*link != nullptr && (*link)->transac_id != transac_id) {
        link = &(*link)->next;
    }
    return link;
}

// The response node of the transaction, made at the head of the queue when there is none yet.
busbroker_rx_node *response_node(tool_info *tool, uint32_t transac_id)
{
    busbroker_rx_node *node = *find_link(&tool->rx_queue, transac_id);

    if (node == nullptr) {
        node = static_cast<busbroker_rx_node *>(malloc(sizeof *node));
        if (node != nullptr) {
            *node = {nullptr, 0, transac_id, 0, tool->rx_queue};
            tool->rx_queue = node;
        }
    }
    return node;
}

// Whether a caller is on its way to take a success: for whoever answers, its request is over. What is said of
// a later try of it must not take away the bytes that came.
bool is_over(const busbroker_call *call, const busbroker_rx_node &response)
{
    return call != nullptr && call->answered && (response.status & BB_RESP_SUCCESS) != 0;
}

struct filing {
    uint32_t result;
    bool completes; // the request has its answer, and somebody waits for it
};

filing file_response(tool_info *tool, busbroker_tx_node *request, const busbroker_call *call, uint8_t status,
                     uint8_t *data, uint32_t length)
{
    busbroker_rx_node *response = response_node(tool, request->transac_id);

    if (response == nullptr) {
        REPORT_ERROR("enqueue_rx_queues", "Mem alloc error \n");
        free(data);
        return {DIAG_ERR_NO_MEMORY, false};
    }
    if (is_over(call, *response)) {
        free(data);
        return {0, false};
    }
    free(response->data);
    response->data = data;
    response->length = length;
    response->status = static_cast<uint8_t>(response->status | status);
    if ((status & BB_RESP_ACK) != 0) {
        request->send_count = 0; // whoever acknowledges is there: its success may take its time
    }
    const bool waits = (request->flags & BB_REQ_NO_WAIT) == 0;
    return {0, waits && boarddiag::judge_status(request->flags, response->status) != outcome::pending};
}

// The request behind a completed one goes out from here, without waiting until the caller has woken up.
void complete(tool_info *tool, busbroker_call *call, const char *word)
{
    if (call == nullptr || call->answered) {
        return;
    }
    call->answered = true;
    memcpy(call->word, word, strnlen(word, sizeof call->word - 1)); // which was cleared
    if (boarddiag::is_transmitting(tool)) {
        boarddiag::send_due_requests(tool);
    }
}

// Links a good node and its call; false when the id of the call is pending.
bool append_locked(tool_info *tool, busbroker_tx_node *node, busbroker_call *call)
{
    bool is_pending = false;
    busbroker_tx_node **link = &tool->tx_queue;

    for (; *link != nullptr; link = &(*link)->next) {
        is_pending = is_pending || (*link)->transac_id == node->transac_id;
    }
    if (call != nullptr && is_pending) {
        return false;
    }
    *link = node;
    if (call != nullptr && (node->flags & BB_REQ_NO_WAIT) == 0) {
        call->next = tool->calls;
        tool->calls = call;
    }
    return true;
}

} // namespace

bool boarddiag::has_tool(const char *function, const tool_info *tool)
{
    if (tool == nullptr) {
        REPORT_ERROR(function, "Null pointer received as tool info\n");
    }
    return tool != nullptr;
}

bool boarddiag::may_request(const char *function, tool_info *tool)
{
    if (!has_tool(function, tool)) {
        return false;
    }
    const int32_t owner = std::atomic_ref(tool->owner_pid).load();
    if (owner == 0 || owner == getpid()) {
        return true;
    }
    REPORT_ERROR(function, "The threads of this client run in process %d, not in its child %d\n", owner,
                 getpid());
    return false;
}

queued boarddiag::queue_request(tool_info *tool, const busbroker_tx_node &request, busbroker_call *call)
{
    auto *node = static_cast<busbroker_tx_node *>(malloc(sizeof request));

    if (node == nullptr) {
        free(request.frame);
        REPORT_ERROR("queue_tx_buf", "Couldn't allocate tx queue memory\n");
        return queued::no_memory;
    }
    *node = request;
    pthread_mutex_lock(&tool->tx_mutex);
    const bool is_queued = append_locked(tool, node, call);
    const bool sends = is_queued && call != nullptr && is_transmitting(tool);
    const bool awaits_first_tick = tool->aged == 0; // for which the transmit thread watches
    if (sends) {
        send_due_requests(tool);
    }
    pthread_mutex_unlock(&tool->tx_mutex);
    if (!is_queued) {
        free(node->frame);
        free(node);
        return queued::id_pending;
    }
    if (!sends || awaits_first_tick) {
        wake_sleepers(tool->tx_wake);
    }
    diag_print(3, "Request queueing succesful\n");
    return queued::done;
}

busbroker_call **boarddiag::find_call(tool_info *tool, uint32_t transac_id)
{
    return find_link(&tool->calls, transac_id);
}

uint32_t queue_tx_buf(struct tool_info *tool, char *frame, uint32_t length, uint32_t interval, uint8_t flags,
                      uint32_t transac_id)
{
    if (!boarddiag::may_request(__func__, tool)) {
        free(frame);
        return DIAG_ERR_INVALID_ARG;
    }
    const busbroker_tx_node request = {frame, transac_id, length, 0, interval, flags, 0, nullptr};
    return boarddiag::queue_request(tool, request, nullptr) == queued::done ? 0 : DIAG_ERR_NO_MEMORY;
}

uint32_t deque_tool_request(struct tool_info *tool, uint32_t transac_id)
{
    if (!boarddiag::has_tool(__func__, tool)) {
        return DIAG_ERR_INVALID_ARG;
    }
    busbroker_tx_node **link = find_link(&tool->tx_queue, transac_id);
    busbroker_tx_node *node = *link;
    if (node == nullptr) {
        boarddiag::tell_refusal(2, "Request not found in the tx queues\n");
        return DIAG_ERR_INVALID_ARG;
    }
    *link = node->next;
    free(node->frame);
    free(node);
    return 0;
}

uint32_t deque_tool_response(struct tool_info *tool, uint32_t transac_id)
{
    if (!boarddiag::has_tool(__func__, tool)) {
        return DIAG_ERR_INVALID_ARG;
    }
    busbroker_rx_node **link = find_link(&tool->rx_queue, transac_id);
    busbroker_rx_node *node = *link;
    if (node == nullptr) {
        boarddiag::tell_refusal(1, "Request not found in the rx queues\n");
        return DIAG_ERR_INVALID_ARG;
    }
    *link = node->next;
    free(node->data);
    free(node);
    return 0;
}

// Finding the request and filing its response is one step: a late second answer, which comes while the caller
// removes both nodes, must not stay behind.
uint32_t boarddiag::file_answer(tool_info *tool, uint8_t status, uint32_t transac_id, uint8_t *data,
                                uint32_t length, const char *word)
{
    filing filed{0, false};

    pthread_mutex_lock(&tool->tx_mutex);
    busbroker_tx_node *request = *find_link(&tool->tx_queue, transac_id);
    busbroker_call *call = *find_call(tool, transac_id);
    if (request == nullptr) {
        free(data);
    } else {
        pthread_mutex_lock(&tool->rx_mutex);
        filed = file_response(tool, request, call, status, data, length);
        pthread_mutex_unlock(&tool->rx_mutex);
    }
    if (filed.completes) {
        complete(tool, call, word);
    }
    pthread_mutex_unlock(&tool->tx_mutex);
    if (filed.completes) {
        wake_sleepers(response_wake(tool, transac_id));
    }
    return filed.result;
}

uint32_t enqueue_rx_queues(struct tool_info *tool, uint8_t status, uint32_t transac_id, uint8_t *data,
                           uint32_t length)
{
    if (!boarddiag::has_tool(__func__, tool)) {
        free(data);
        return DIAG_ERR_INVALID_ARG;
    }
    return boarddiag::file_answer(tool, status, transac_id, data, length, "");
}
