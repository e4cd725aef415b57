/* SPDX-License-Identifier: MIT */
// The calls that run on the ticks of the periodic timer. Ticks come in signal handlers of any thread, so the
// lists are only ever appended to, each node by one atomic store of the link that makes it visible.
#include <atomic>
#include <cstdlib>

#include <boarddiag/timer.h>

#include "core/report.h"

struct timeout_call *time_out_calls_list[3];

namespace {

constexpr uint32_t ticks_per_slow_tick = 10;
constexpr int32_t never = 0;
constexpr int32_t every_tick = 1;
constexpr int32_t every_slow_tick = 2;

std::atomic<uint32_t> ticks_100ms{0};
static_assert(std::atomic<uint32_t>::is_always_lock_free, "a tick may interrupt another one");
static_assert(std::atomic_ref<timeout_call *>::is_always_lock_free, "a tick may interrupt a registration");

timeout_call *follow(timeout_call *&link)
{
    return std::atomic_ref(link).load(std::memory_order_acquire);
}

void run_calls(int32_t list)
{
    for (timeout_call *call = follow(time_out_calls_list[list]); call != nullptr; call = follow(call->next)) {
        if (call->callback != nullptr) {
            call->callback(call->arg);
        }
    }
}

/// Links the node where the list ends; a registration that comes in between moves the end, not the order.
void append(timeout_call **link, timeout_call *node)
{
    timeout_call *occupant = nullptr;
    while (!std::atomic_ref(*link).compare_exchange_strong(occupant, node, std::memory_order_release,
                                                           std::memory_order_acquire)) {
        link = &occupant->next;
        occupant = nullptr;
    }
}

} // namespace

void timeout_calls(void)
{
    const uint32_t ticks = ticks_100ms.fetch_add(1, std::memory_order_relaxed) + 1;

    run_calls(every_tick);
    if (ticks == ticks_per_slow_tick) {
        run_calls(every_slow_tick);
        ticks_100ms.store(0, std::memory_order_relaxed);
    }
}

bool register_timeout_calls(int32_t type, timeout_call_fn callback, void *arg)
{
    const int32_t list = type == never || type == every_tick ? type : every_slow_tick;
    auto *node = static_cast<timeout_call *>(malloc(sizeof(timeout_call)));

    if (node == nullptr) {
        REPORT_ERROR(__func__, "mem allocation for timeout calls failed \n");
        return false;
    }
    *node = {callback, arg, nullptr};
    append(&time_out_calls_list[list], node);
    return true;
}
