/* SPDX-License-Identifier: MIT */
#include "devtree/broker_retry.h"

#include <boarddiag/timer.h>

namespace {

constexpr int max_tries = 10;
constexpr uint32_t priority = 0;
constexpr uint32_t whole_transaction = 5;

} // namespace

bool boarddiag::request_with_retries(const broker_request &request, void (*prepare)(void *context),
                                     bool (*accept)(const void *context), void *context)
{
    for (int attempt = 0; attempt < max_tries; attempt++) {
        prepare(context);
        const uint32_t status = request_busbroker(request.req, request.tool, request.dev_id, request.dev_name,
                                                  priority, request.req_type, whole_transaction);
        free_req_texts(request.req);
        if (status == 0 && (accept == nullptr || accept(context))) {
            return true;
        }
        waitfor_timeout(request.timer, request.pause_s);
    }
    return false;
}
