/* SPDX-License-Identifier: MIT */
// What the periodic tick does to a bus broker client: it tells of itself, and the transmit queue ages.
#include <atomic>

#include "busbroker/futex.h"
#include "busbroker/queues.h"
#include "core/report.h"

namespace {

constexpr uint32_t tick_ms = 100;

} // namespace

// Runs in a signal handler.
void timeout_update(void *arg)
{
    auto *tool = static_cast<tool_info *>(arg);

    if (tool != nullptr) {
        std::atomic_ref(tool->timeout_flag).store(1);
        boarddiag::wake_sleepers(tool->tx_wake);
    }
}

void busbroker_tx_queue_timeout_update(struct tool_info *tool)
{
    if (!boarddiag::has_tool(__func__, tool)) {
        return;
    }
    tool->aged++;
    for (busbroker_tx_node *node = tool->tx_queue; node != nullptr; node = node->next) {
        if (node->countdown >= tick_ms) {
            node->countdown -= tick_ms;
        } else if (node->countdown != 0) {
            node->countdown = tick_ms; // a remainder below one tick runs out on the next
        }
    }
}
