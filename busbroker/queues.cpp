/* SPDX-License-Identifier: MIT */
// The queue of requests to send and the queue of statuses that came back.
#include "busbroker/queues.h"

#include <atomic>
#include <cstdlib>

#include "busbroker/futex.h"
#include "core/report.h"

using boarddiag::outcome;

namespace {

// The link that holds the first node of the transaction, or the null link at the list's end.
template <typename Node> Node **find_link(Node **link, uint32_t transac_id)
{
    while (*link != nullptr && (*link)->transac_id != transac_id) {
        link = &(*link)->next;
    }
    return link;
}

// The tick looks at the head of the transmit queue without a lock.
void set_link(busbroker_tx_node **link, busbroker_tx_node *node)
{
    std::atomic_ref(*link).store(node);
}

void append_request(tool_info *tool, busbroker_tx_node *node)
{
    busbroker_tx_node **link = &tool->tx_queue;

    while (*link != nullptr) {
        link = &(*link)->next;
    }
    set_link(link, node);
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
bool is_over(const busbroker_tx_node &request, const busbroker_rx_node &response)
{
    return request.bounded != 0 && request.answered != 0 && (response.status & BB_RESP_SUCCESS) != 0;
}

struct filing {
    uint32_t result;
    bool completes; // the request has its answer, and somebody waits for it
};

filing file_response(tool_info *tool, busbroker_tx_node *request, uint8_t status, uint8_t *data,
                     uint32_t length)
{
    busbroker_rx_node *response = response_node(tool, request->transac_id);

    if (response == nullptr) {
        REPORT_ERROR("enqueue_rx_queues", "Mem alloc error \n");
        free(data);
        return {DIAG_ERR_NO_MEMORY, false};
    }
    if (is_over(*request, *response)) {
        free(data);
        return {0, false};
    }
    free(response->data);
    response->data = data;
    response->length = length;
    response->status = static_cast<uint8_t>(response->status | status);
    const bool waits = (request->flags & BB_REQ_NO_WAIT) == 0;
    return {0, waits && boarddiag::judge_status(request->flags, response->status) != outcome::pending};
}

} // namespace

bool boarddiag::has_tool(const char *function, const tool_info *tool)
{
    if (tool == nullptr) {
        REPORT_ERROR(function, "Null pointer received as tool info\n");
    }
    return tool != nullptr;
}

uint32_t boarddiag::queue_request(tool_info *tool, const busbroker_tx_node &request, bool send_now)
{
    auto *node = static_cast<busbroker_tx_node *>(malloc(sizeof request));

    if (node == nullptr) {
        free(request.frame);
        REPORT_ERROR("queue_tx_buf", "Couldn't allocate tx queue memory\n");
        return DIAG_ERR_NO_MEMORY;
    }
    *node = request;
    pthread_mutex_lock(&tool->tx_mutex);
    append_request(tool, node);
    const bool sends = send_now && is_transmitting(tool);
    if (sends) {
        send_due_requests(tool);
    }
    pthread_mutex_unlock(&tool->tx_mutex);
    if (!sends) {
        wake_sleepers(tool->tx_wake);
    }
    diag_print(3, "Request queueing succesful\n");
    return 0;
}

uint32_t queue_tx_buf(struct tool_info *tool, char *frame, uint32_t length, uint32_t interval, uint8_t flags,
                      uint32_t transac_id)
{
    busbroker_tx_node request{};

    if (!boarddiag::has_tool(__func__, tool)) {
        free(frame);
        return DIAG_ERR_INVALID_ARG;
    }
    request.frame = frame;
    request.transac_id = transac_id;
    request.length = length;
    request.interval = interval;
    request.flags = flags;
    return boarddiag::queue_request(tool, request, false);
}

uint32_t deque_tool_request(struct tool_info *tool, uint32_t transac_id)
{
    if (!boarddiag::has_tool(__func__, tool)) {
        return DIAG_ERR_INVALID_ARG;
    }
    busbroker_tx_node **link = find_link(&tool->tx_queue, transac_id);
    busbroker_tx_node *node = *link;
    if (node == nullptr) {
        diag_print(2, "Request not found in the tx queues\n");
        return DIAG_ERR_INVALID_ARG;
    }
    set_link(link, node->next);
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
        diag_print(1, "Request not found in the rx queues\n");
        return DIAG_ERR_INVALID_ARG;
    }
    *link = node->next;
    free(node->data);
    free(node);
    return 0;
}

// Finding the request and filing its response is one step: a late second answer, which comes while the caller
// removes both nodes, must not stay behind. The request behind a completed one goes out from here, without
// waiting until the caller has woken up.
uint32_t enqueue_rx_queues(struct tool_info *tool, uint8_t status, uint32_t transac_id, uint8_t *data,
                           uint32_t length)
{
    filing filed{0, false};

    if (!boarddiag::has_tool(__func__, tool)) {
        free(data);
        return DIAG_ERR_INVALID_ARG;
    }
    pthread_mutex_lock(&tool->tx_mutex);
    busbroker_tx_node *request = *find_link(&tool->tx_queue, transac_id);
    if (request == nullptr) {
        free(data);
    } else {
        pthread_mutex_lock(&tool->rx_mutex);
        filed = file_response(tool, request, status, data, length);
        pthread_mutex_unlock(&tool->rx_mutex);
    }
    if (filed.completes) {
        request->answered = 1;
        if (boarddiag::is_transmitting(tool)) {
            boarddiag::send_due_requests(tool);
        }
    }
    pthread_mutex_unlock(&tool->tx_mutex);
    if (filed.completes) {
        boarddiag::wake_sleepers(boarddiag::response_wake(tool, transac_id));
    }
    return filed.result;
}
