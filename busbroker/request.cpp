/* SPDX-License-Identifier: MIT */
// The call that sends a request to the bus broker and waits for its answer.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "busbroker/futex.h"
#include "busbroker/queues.h"
#include "core/report.h"

using boarddiag::outcome;

namespace {

constexpr uint8_t default_code = 28;
constexpr uint8_t failure_bits = 0xfc;
constexpr uint8_t max_vain_sends = 2;
constexpr uint32_t max_identifier_len = 39; // callers hold identifiers in 40 bytes, terminator included
constexpr uint32_t longest_sleep_ms = 500;
constexpr const char request_function[] = "request_busbroker";

void release_texts(busbroker_req_resp *req)
{
    free(req->data);
    free(req->support_data);
    req->data = nullptr;
    req->support_data = nullptr;
    req->data_len = 0;
    req->support_data_len = 0;
}

// Puts the frame of the filled record, and its length, into `request`.
uint32_t make_frame(const busbroker_req_resp *req, busbroker_tx_node *request)
{
    const uint32_t size = calculate_req_len_in_ascii(req) + 1;
    auto *frame = static_cast<char *>(malloc(size));

    if (frame == nullptr) {
        REPORT_ERROR(request_function, "Memory allocation error\n");
        return DIAG_ERR_NO_MEMORY;
    }
    const uint32_t length = frame_ascii_request(req, frame, static_cast<int32_t>(size));
    if (length == 0) {
        free(frame);
        REPORT_ERROR(request_function, "Error while framing ASCII request\n");
        return DIAG_ERR_INVALID_ARG;
    }
    request->frame = frame;
    request->length = length;
    return 0;
}

// The number of response bytes that the caller's buffer holds.
uint32_t response_room(const busbroker_req_resp *req)
{
    switch (req->req_type) {
    case BB_REQ_READ:
        return req->count;
    case BB_REQ_OTF_DEV_ID:
        return max_identifier_len;
    default:
        return 0;
    }
}

uint32_t queue_record(const busbroker_req_resp *req, tool_info *tool, busbroker_tx_node *request)
{
    request->transac_id = req->transac_id;
    request->interval = req->retry_ms;
    request->flags = req->flags;
    request->bounded = 1;
    request->resp_room = response_room(req);
    if (boarddiag::queue_request(tool, *request, true) != 0) {
        REPORT_ERROR(request_function, "Can't queue the request \n");
        return DIAG_ERR_NO_MEMORY;
    }
    return 0;
}

void copy_response(const busbroker_tx_node &request, const busbroker_rx_node &response, uint8_t *resp_buf)
{
    const uint32_t length =
        request.bounded != 0 ? std::min(response.length, request.resp_room) : response.length;

    diag_print(3, "Data of length %d received \n", response.length);
    if (response.data != nullptr && resp_buf != nullptr && length != 0) {
        memcpy(resp_buf, response.data, length);
    }
}

// Looks for a filed status that completes the request, and takes the bytes that came with it.
outcome take_answer(const tool_info *tool, const busbroker_tx_node &request, uint8_t *resp_buf)
{
    for (const busbroker_rx_node *node = tool->rx_queue; node != nullptr; node = node->next) {
        if (node->transac_id != request.transac_id) {
            continue;
        }
        const outcome result = boarddiag::judge_status(request.flags, node->status);
        if ((node->status & BB_RESP_SUCCESS) != 0) {
            copy_response(request, *node, resp_buf);
        }
        if (result != outcome::pending) {
            return result;
        }
    }
    return outcome::pending;
}

busbroker_tx_node *find_request(const tool_info *tool, uint32_t transac_id)
{
    busbroker_tx_node *node = tool->tx_queue;

    while (node != nullptr && node->transac_id != transac_id) {
        node = node->next;
    }
    return node;
}

// One look at the queues, under `tx_mutex`. An answer already filed is taken before the request is given up.
outcome look_locked(tool_info *tool, uint32_t transac_id, uint8_t *resp_buf)
{
    const busbroker_tx_node *request = find_request(tool, transac_id);

    if (request == nullptr) {
        diag_print(1, "Request not found in the Tx queues\n");
        return outcome::failure;
    }
    const bool exhausted = boarddiag::is_exhausted(*request);
    if (!exhausted && (request->flags & BB_REQ_NO_WAIT) != 0) {
        return outcome::success;
    }
    pthread_mutex_lock(&tool->rx_mutex);
    outcome result = take_answer(tool, *request, resp_buf);
    if (result == outcome::pending && exhausted) {
        result = outcome::failure;
    }
    if (result != outcome::pending) {
        deque_tool_request(tool, transac_id);
        deque_tool_response(tool, transac_id);
    }
    pthread_mutex_unlock(&tool->rx_mutex);
    return result;
}

outcome look_for_answer(tool_info *tool, uint32_t transac_id, uint8_t *resp_buf)
{
    pthread_mutex_lock(&tool->tx_mutex);
    const outcome result = look_locked(tool, transac_id, resp_buf);
    pthread_mutex_unlock(&tool->tx_mutex);
    return result;
}

} // namespace

outcome boarddiag::judge_status(uint8_t flags, uint8_t status)
{
    const bool acknowledged = (status & BB_RESP_ACK) != 0 && (flags & BB_REQ_ACK_DONE) != 0;

    if (acknowledged || (status & BB_RESP_SUCCESS) != 0) {
        return outcome::success;
    }
    return (status & failure_bits) != 0 ? outcome::failure : outcome::pending;
}

// Callers share the words by their transaction ids, scattered so that ids in regular steps rarely meet; two
// that meet wake each other for nothing, no more.
uint32_t &boarddiag::response_wake(tool_info *tool, uint32_t transac_id)
{
    constexpr uint32_t scatter = 0x9e3779b1;

    return tool->resp_wake[((transac_id * scatter) >> 16) % std::size(tool->resp_wake)];
}

bool boarddiag::is_exhausted(const busbroker_tx_node &request)
{
    return request.send_count > max_vain_sends && request.countdown == 0;
}

void update_busbroker_req_fields(struct busbroker_req_resp *req, uint32_t addr, uint16_t count, uint8_t width,
                                 uint8_t *data, uint8_t flags, int32_t req_type, uint8_t code,
                                 const uint8_t *support_bytes, uint8_t support_count)
{
    if (req == nullptr) {
        REPORT_ERROR(__func__, "NULL pointers received as inputs\n");
        return;
    }
    req->addr = addr;
    req->count = count;
    req->width = width;
    req->flags = flags;
    req->resp_buf = req_type == BB_REQ_READ ? data : nullptr;
    req->write_data = req_type == BB_REQ_WRITE ? data : nullptr;
    req->code = req_type == BB_REQ_READ ? code : default_code;
    const bool complete = support_bytes != nullptr && support_count != 0;
    req->support_bytes = complete ? support_bytes : nullptr;
    req->support_count = complete ? support_count : 0;
    if (support_bytes == nullptr && support_count != 0) {
        REPORT_TRACE(__func__, 3,
                     "Support data length is not NULL but buffer pointer is NULL, "
                     "Considering no support data");
    } else if (support_bytes != nullptr && support_count == 0) {
        REPORT_TRACE(__func__, 3, "Support data buffer is not NULL, but support data buffer is not empty\n");
    }
}

// The record's texts serve the frame alone; none stays behind, whatever comes of the request.
uint32_t request_busbroker(struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                           const char *dev_name, uint32_t req_prio, uint32_t req_type, uint32_t transac_ind)
{
    busbroker_tx_node request{};

    uint32_t status = update_request(req, dev_id, dev_name, req_prio, req_type, transac_ind);
    if (req == nullptr) {
        return DIAG_ERR_INVALID_ARG;
    }
    if (status == 0 && !boarddiag::has_tool(__func__, tool)) {
        status = DIAG_ERR_INVALID_ARG;
    }
    if (status == 0) {
        status = make_frame(req, &request);
    }
    release_texts(req);
    if (status == 0) {
        status = queue_record(req, tool, &request);
    }
    if (status != 0) {
        return status;
    }
    status = check_resp_buf(tool, req->transac_id, req->resp_buf);
    req->transac_id++;
    return status == 0 ? 0 : DIAG_ERR_INVALID_ARG;
}

uint32_t check_resp_buf(struct tool_info *tool, uint32_t transac_id, uint8_t *resp_buf)
{
    if (!boarddiag::has_tool(__func__, tool)) {
        return DIAG_ERR_INVALID_ARG;
    }
    uint32_t &wake = boarddiag::response_wake(tool, transac_id);
    for (;;) {
        const uint32_t seen = boarddiag::wake_count(wake);
        const outcome result = look_for_answer(tool, transac_id, resp_buf);
        if (result != outcome::pending) {
            return result == outcome::success ? 0 : DIAG_ERR_INVALID_ARG;
        }
        boarddiag::sleep_on(wake, seen, longest_sleep_ms);
    }
}
