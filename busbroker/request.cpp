/* SPDX-License-Identifier: MIT */
// The call that sends a request to the bus broker and waits for its answer.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "busbroker/futex.h"
#include "busbroker/queues.h"
#include "core/edge.h"
#include "core/fifo_run.h"
#include "core/reason.h"
#include "core/report.h"

using boarddiag::outcome;

namespace {

constexpr uint8_t failure_bits = 0xfc;
constexpr uint32_t max_identifier_len = 39; // callers hold identifiers in 40 bytes, terminator included
constexpr uint32_t longest_sleep_ms = 500;
constexpr const char request_function[] = "request_busbroker";

// Puts the frame of the filled record, and its length, into `request`.
uint32_t make_frame(busbroker_req_resp *req, busbroker_tx_node *request)
{
    const uint32_t size = calculate_req_len_in_ascii(req) + 1;
    auto *frame = static_cast<char *>(malloc(size));

    if (frame == nullptr) {
        free(req->data);
        req->data = nullptr;
        req->data_len = 0;
        REPORT_ERROR(request_function, "Memory allocation error\n");
        return DIAG_ERR_NO_MEMORY;
    }
    const uint32_t length = frame_ascii_request(req, frame, static_cast<int32_t>(size));
    if (length == 0) {
        free(frame);
        REPORT_FOLLOW_UP(request_function, "Error while framing ASCII request\n");
        return DIAG_ERR_INVALID_ARG;
    }
    *request = {frame, req->transac_id, length, 0, req->retry_ms, req->flags, 0, nullptr};
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

void copy_response(busbroker_call *call, const busbroker_rx_node &response, uint8_t *resp_buf)
{
    const uint32_t length = std::min(response.length, call->resp_room);

    diag_print(3, "Data of length %d received \n", response.length);
    call->received = response.length;
    if (response.data != nullptr && resp_buf != nullptr && length != 0) {
        memcpy(resp_buf, response.data, length);
    }
}

// Looks for a filed status that completes the request, and takes the bytes that came with it.
outcome take_answer(const tool_info *tool, uint8_t flags, busbroker_call *call, uint8_t *resp_buf)
{
    for (const busbroker_rx_node *node = tool->rx_queue; node != nullptr; node = node->next) {
        if (node->transac_id != call->transac_id) {
            continue;
        }
        call->status = node->status;
        if ((node->status & BB_RESP_SUCCESS) != 0) {
            copy_response(call, *node, resp_buf);
        }
        const outcome result = boarddiag::judge_status(flags, node->status);
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

constexpr const char no_thread_format[] = "The client has no transmit thread: request %u is not sent\n";

// Without ticks a lost answer would be waited for without end and without a word. The queue ages when a tick
// came and somebody made a transmit pass; that nothing did so for many ticks is told once for a client. A
// program whose own thread sends the requests sees to their age itself.
[[gnu::cold]] void watch_ageing(tool_info *tool, const busbroker_tx_node &request, busbroker_call *call)
{
    if (!boarddiag::is_transmitting(tool) && request.send_count != 0) {
        return;
    }
    const int64_t now = boarddiag::now_ms();
    if (call->aged_ms == 0 || call->aged != tool->aged) {
        call->aged = tool->aged;
        call->aged_ms = now;
    } else if (now - call->aged_ms >= boarddiag::longest_without_tick_ms) {
        std::atomic_ref(tool->has_told_no_tick).store(1);
        diag_print(
            0,
            boarddiag::is_transmitting(tool)
                ? "No tick of a periodic timer comes: request %u will wait for a lost answer for ever\n"
                : no_thread_format,
            call->transac_id);
    }
}

// Nobody watches over a request that is not waited for, so that no thread was ever made for it is told at
// once.
void tell_no_thread(tool_info *tool, const busbroker_call *call)
{
    if (!boarddiag::is_transmitting(tool) && tool->tx_thread == pthread_t{} && tool->has_told_no_tick == 0) {
        std::atomic_ref(tool->has_told_no_tick).store(1);
        diag_print(0, no_thread_format, call->transac_id);
    }
}

// One look at the queues, under `tx_mutex`. An answer already filed is taken before the request is given up.
outcome look_locked(tool_info *tool, busbroker_call *call, uint8_t *resp_buf)
{
    const busbroker_tx_node *request = find_request(tool, call->transac_id);

    if (request == nullptr) {
        diag_print(1, "Request not found in the Tx queues\n");
        return outcome::gone;
    }
    const bool exhausted = boarddiag::is_exhausted(*request);
    if (!exhausted && (request->flags & BB_REQ_NO_WAIT) != 0) {
        tell_no_thread(tool, call);
        return outcome::success;
    }
    pthread_mutex_lock(&tool->rx_mutex);
    outcome result = take_answer(tool, request->flags, call, resp_buf);
    if (result == outcome::pending && exhausted) {
        result = outcome::given_up;
        call->sends = call->sends != 0 ? call->sends : request->send_count;
        // What is half read may be why no answer was seen; the frame is the receive thread's to drop.
        std::atomic_ref(tool->rx_reset).store(1);
    }
    if (result != outcome::pending) {
        deque_tool_request(tool, call->transac_id);
        deque_tool_response(tool, call->transac_id);
    } else if (call->has_paused && tool->has_told_no_tick == 0) {
        watch_ageing(tool, *request, call);
    }
    pthread_mutex_unlock(&tool->rx_mutex);
    return result;
}

void unlink_call(tool_info *tool, busbroker_call *call)
{
    for (busbroker_call **link = &tool->calls; *link != nullptr; link = &(*link)->next) {
        if (*link == call) {
            *link = call->next;
            return;
        }
    }
}

outcome look_for_answer(tool_info *tool, busbroker_call *call, uint8_t *resp_buf)
{
    pthread_mutex_lock(&tool->tx_mutex);
    const outcome result = look_locked(tool, call, resp_buf);
    if (result != outcome::pending) {
        unlink_call(tool, call);
    }
    pthread_mutex_unlock(&tool->tx_mutex);
    return result;
}

[[gnu::cold]] void note_refusal(const busbroker_call &call)
{
    if (call.word[0] == '\0') {
        boarddiag::set_reason("the bus broker's answer has the status 0x%02x", call.status);
    } else {
        boarddiag::set_reason("the bus broker answered '%s' for %s %s", call.word, call.dev_id,
                              call.dev_name);
    }
}

[[gnu::cold]] void note_silence(const tool_info *tool, const busbroker_call &call)
{
    char address[boarddiag::address_size];
    const bool failed = call.send_error != 0;

    char time[24] = "";

    if (call.first_sent_ms != 0) { // else somebody sent it who is not of this library
        snprintf(time, sizeof time, " in %.1f s",
                 static_cast<double>(boarddiag::now_ms() - call.first_sent_ms) / 1000);
    }
    boarddiag::set_reason("no answer from %s after %u sends%s%s%s",
                          boarddiag::address_text(tool->sock_cfg, address), call.sends, time,
                          failed ? ": " : "", failed ? strerror(call.send_error) : "");
}

[[gnu::cold]] void note_failure(const tool_info *tool, const busbroker_call &call, outcome result)
{
    switch (result) {
    case outcome::refused:
        note_refusal(call);
        break;
    case outcome::given_up:
        note_silence(tool, call);
        break;
    default:
        boarddiag::set_reason("no request with the transaction id %u is queued", call.transac_id);
    }
}

// At the latest after this time a waiting caller looks for its answer again.
void pause_for_answer(uint32_t &wake, uint32_t seen)
{
    if (boarddiag::is_own_usleep()) {
        boarddiag::pause_for(longest_sleep_ms * 1000); // which nobody wakes
    } else {
        boarddiag::sleep_on(wake, seen, longest_sleep_ms);
    }
}

uint32_t wait_for_answer(tool_info *tool, busbroker_call *call, uint8_t *resp_buf)
{
    uint32_t &wake = boarddiag::response_wake(tool, call->transac_id);

    for (;; call->has_paused = true) {
        const uint32_t seen = boarddiag::wake_count(wake);
        const outcome result = look_for_answer(tool, call, resp_buf);
        if (result == outcome::success) {
            return 0;
        }
        if (result != outcome::pending) {
            note_failure(tool, *call, result);
            return DIAG_ERR_INVALID_ARG;
        }
        pause_for_answer(wake, seen);
    }
}

// Queues the request of a framed record, which must not be cancelled while its call is linked, and waits.
uint32_t exchange(busbroker_req_resp *req, tool_info *tool, const busbroker_tx_node &request,
                  busbroker_call *call)
{
    int cancel_state = 0;
    uint32_t status = DIAG_ERR_INVALID_ARG;

    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
    const boarddiag::queued queued = boarddiag::queue_request(tool, request, call);
    if (queued == boarddiag::queued::done) {
        status = wait_for_answer(tool, call, req->resp_buf);
    }
    pthread_setcancelstate(cancel_state, nullptr);
    if (queued == boarddiag::queued::no_memory) {
        REPORT_FOLLOW_UP(request_function, "Can't queue the request \n");
        return DIAG_ERR_NO_MEMORY;
    }
    if (queued == boarddiag::queued::id_pending) {
        REPORT_ERROR(request_function, "Transaction id %u is pending already\n", req->transac_id);
    }
    req->transac_id++;
    return status;
}

} // namespace

outcome boarddiag::judge_status(uint8_t flags, uint8_t status)
{
    const bool acknowledged = (status & BB_RESP_ACK) != 0 && (flags & BB_REQ_ACK_DONE) != 0;

    if (acknowledged || (status & BB_RESP_SUCCESS) != 0) {
        return outcome::success;
    }
    return (status & failure_bits) != 0 ? outcome::refused : outcome::pending;
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
    return request.send_count > boarddiag::max_vain_sends && request.countdown == 0;
}

uint32_t request_busbroker(struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                           const char *dev_name, uint32_t req_prio, uint32_t req_type, uint32_t transac_ind)
{
    busbroker_tx_node request{};
    busbroker_call call{};

    uint32_t status = update_request(req, dev_id, dev_name, req_prio, req_type, transac_ind);
    if (status != 0) {
        return status;
    }
    if (!boarddiag::may_request(__func__, tool)) {
        return DIAG_ERR_INVALID_ARG;
    }
    status = make_frame(req, &request);
    if (status != 0) {
        return status;
    }
    call.transac_id = req->transac_id;
    call.resp_room = response_room(req);
    call.received = UINT32_MAX; // until an answer with bytes comes
    call.dev_id = dev_id;
    call.dev_name = dev_name;
    status = exchange(req, tool, request, &call);
    if (status == 0 && req_type == BB_REQ_READ && call.received < req->count) {
        diag_print(0, "The bus broker sent %u of %u bytes for %s %s\n", call.received, req->count, dev_id,
                   dev_name);
    }
    return status;
}

uint32_t check_resp_buf(struct tool_info *tool, uint32_t transac_id, uint8_t *resp_buf)
{
    busbroker_call call{};

    if (!boarddiag::may_request(__func__, tool)) {
        return DIAG_ERR_INVALID_ARG;
    }
    call.transac_id = transac_id;
    pthread_mutex_lock(&tool->tx_mutex);
    const busbroker_call *waiting = *boarddiag::find_call(tool, transac_id);
    call.resp_room = waiting != nullptr ? waiting->resp_room : UINT32_MAX;
    pthread_mutex_unlock(&tool->tx_mutex);
    call.first_sent_ms = boarddiag::now_ms(); // as far as this caller knows
    return wait_for_answer(tool, &call, resp_buf);
}
