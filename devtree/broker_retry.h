/* SPDX-License-Identifier: MIT */
// A bus broker request that is tried again after a pause until it is answered.
#ifndef BOARDDIAG_DEVTREE_BROKER_RETRY_H
#define BOARDDIAG_DEVTREE_BROKER_RETRY_H

#include <boarddiag/busbroker.h>
#include <cstdint>
#include <ctime>

namespace boarddiag {

struct broker_request {
    struct busbroker_req_resp *req;
    struct tool_info *tool;
    const char *dev_id;
    const char *dev_name;
    uint32_t req_type;
    timer_t timer;  // polling timer of the pauses
    double pause_s; // after each failed try, the last one included
};

/// Tries a request up to ten times. Failures are not reported: only the outcome counts.
/// @param prepare fills the record; called with `context` before each try.
/// @param accept  tells whether a successful answer will do; null accepts every one.
/// @return whether an answer came and was accepted.
bool request_with_retries(const broker_request &request, void (*prepare)(void *context),
                          bool (*accept)(const void *context), void *context);

} // namespace boarddiag

#endif
