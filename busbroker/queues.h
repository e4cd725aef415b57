/* SPDX-License-Identifier: MIT */
// What the queues, the transmit side and the request call share.
#ifndef BOARDDIAG_BUSBROKER_QUEUES_H
#define BOARDDIAG_BUSBROKER_QUEUES_H

#include <boarddiag/busbroker.h>

namespace boarddiag {

// ---- queues.cpp ----

/// Whether there is a `tool_info`; a null one is reported under `function`.
bool has_tool(const char *function, const tool_info *tool);

/// Appends a copy of `request`, whose frame passes to the queue even when memory runs out, which releases it
/// (#DIAG_ERR_NO_MEMORY). With `send_now` the calling thread sends what is due, provided the transmit thread
/// has been started; otherwise the transmit thread is woken.
uint32_t queue_request(tool_info *tool, const busbroker_tx_node &request, bool send_now);

// ---- transmit.cpp ----

/// Whether the transmit thread of this `tool_info` has been started.
bool is_transmitting(tool_info *tool);

/// One transmit pass: ages the queue when a tick came, then sends what is due. The caller holds `tx_mutex`.
void send_due_requests(tool_info *tool);

// ---- request.cpp ----

/// What a filed status means for a request.
enum class outcome { pending, success, failure };
outcome judge_status(uint8_t flags, uint8_t status);

/// The wake counter of the callers that wait for this transaction.
uint32_t &response_wake(tool_info *tool, uint32_t transac_id);

/// Whether the request was sent often enough and its last answer time is over.
bool is_exhausted(const busbroker_tx_node &request);

} // namespace boarddiag

#endif
