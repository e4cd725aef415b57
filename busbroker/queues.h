/* SPDX-License-Identifier: MIT */
// What the queues, the transmit side and the request call share.
#ifndef BOARDDIAG_BUSBROKER_QUEUES_H
#define BOARDDIAG_BUSBROKER_QUEUES_H

#include <boarddiag/busbroker.h>

/// What the library knows of a request besides its public node, which anybody may have made. It stands on the
/// stack of the caller; while that one waits in request_busbroker() it is linked in the client's `calls`, and
/// guarded by tx_mutex.
struct busbroker_call {
    uint32_t transac_id;
    uint32_t resp_room;    // response bytes that the caller's buffer takes
    const char *dev_id;    // the device asked for; null when the caller did not say
    const char *dev_name;  //
    bool answered;         // a status that completes the request is filed
    bool has_paused;       // the caller has slept once and found no answer
    uint8_t status;        // the status bits of the answer that ended the request
    uint32_t received;     // the response bytes that came with a success
    uint32_t sends;        // all of them, also those before an acknowledgement
    int send_error;        // errno of the last one, 0 when it went out
    int64_t first_sent_ms; // when the first one was
    uint32_t aged;         // the client's `aged` when it was seen to change last
    int64_t aged_ms;       // and when that was; 0 before the first look
    char word[64];         // what the broker answered to a request that failed
    busbroker_call *next;
};

namespace boarddiag {

// ---- queues.cpp ----

/// Whether there is a `tool_info`; a null one is reported under `function`.
bool has_tool(const char *function, const tool_info *tool);

/// The same, and that its threads run in this process rather than in the one that forked it.
bool may_request(const char *function, tool_info *tool);

/// What became of a request that is to be queued.
enum class queued { done, no_memory, id_pending };

/// Appends a copy of `request`, whose frame passes to the queue, which releases it when it refuses. For a
/// `call` the id must not be pending; the call is linked unless the request is #BB_REQ_NO_WAIT, and the
/// calling thread sends what is due, provided the transmit thread has been started; otherwise that one is
/// woken.
queued queue_request(tool_info *tool, const busbroker_tx_node &request, busbroker_call *call);

/// The link that holds the call of a transaction, or the null link at the list's end.
busbroker_call **find_call(tool_info *tool, uint32_t transac_id);

/// enqueue_rx_queues() with the word, or the text, that the status stands for.
uint32_t file_answer(tool_info *tool, uint8_t status, uint32_t transac_id, uint8_t *data, uint32_t length,
                     const char *word);

// ---- transmit.cpp ----

/// Ticks come once a second at the latest: none in this time means that none comes at all.
inline constexpr uint32_t longest_without_tick_ms = 1500;

/// Notes that threads of this `tool_info` run in this process.
void note_owner(tool_info *tool);

/// The same, and that sock_tx_thread() is one of them.
void note_transmitter(tool_info *tool);

/// Whether sock_tx_thread() has been started.
bool is_transmitting(tool_info *tool);

/// One transmit pass: ages the queue when a tick came, then sends what is due. The caller holds `tx_mutex`.
void send_due_requests(tool_info *tool);

// ---- transport.cpp ----

inline constexpr size_t address_size = 24; // an IPv4 address, a colon and a port

/// Where the frames of a configuration go, as "127.0.0.1:5000".
const char *address_text(const sock_cfg &cfg, char (&text)[address_size]);

// ---- request.cpp ----

/// What a filed status means for a request.
enum class outcome { pending, success, refused, given_up, gone };
outcome judge_status(uint8_t flags, uint8_t status);

/// The wake counter of the callers that wait for this transaction.
uint32_t &response_wake(tool_info *tool, uint32_t transac_id);

/// Whether the request was sent often enough and its last answer time is over.
bool is_exhausted(const busbroker_tx_node &request);

/// So many sends without an answer may go by before the request is given up.
inline constexpr uint8_t max_vain_sends = 2;

} // namespace boarddiag

#endif
