/* SPDX-License-Identifier: MIT */
// The engine that walks a table of states. It knows the shape of a table and nothing of what its states do.
#include "busbroker/receive.h"
#include "busbroker/refusal.h"
#include "core/reason.h"
#include "core/report.h"

using boarddiag::invalid_state;
using boarddiag::step_done;
using boarddiag::step_failed;

namespace {

[[gnu::cold]] uint32_t refuse(uint32_t *state, int level, const char *message)
{
    boarddiag::tell_refusal(level, message);
    *state = invalid_state;
    return DIAG_ERR_INVALID_ARG;
}

void run_post_step(const state_row &row, void *context, void *argument)
{
    if (row.post_step != nullptr) {
        row.post_step(context, argument);
    }
}

/// Runs the pair that the event chooses; its handler's result is not consulted.
bool take_event(const state_event_table &table, uint32_t event, void *context, void *argument, uint32_t *next)
{
    if (event >= table.count || table.events == nullptr) {
        diag_print(0, "Current state doesn't have rx event %d\n", static_cast<int>(event));
        boarddiag::set_reason("the state machine's state does not know event %u", event);
        return false;
    }
    const state_event &chosen = table.events[event];
    if (chosen.handler != nullptr) {
        chosen.handler(context, argument);
    }
    *next = chosen.next_state;
    return true;
}

uint32_t run_handler(const state_row &row, uint32_t state, void *context, void *argument)
{
    const uint32_t result = row.handler == nullptr ? step_done : row.handler(context, argument);

    if (result == step_done) {
        return row.success_state;
    }
    if (result != step_failed) {
        return state;
    }
    if (row.failure_handler != nullptr) {
        row.failure_handler(context, argument);
    }
    return row.failure_state;
}

} // namespace

uint32_t state_traversal(const struct state_info *info, uint32_t *state, uint32_t event, void *context,
                         void *argument)
{
    if (state == nullptr) {
        REPORT_ERROR(__func__, "NULL pointer received as current state\n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (info == nullptr) {
        return refuse(state, 0, "NULL pointer received as state table address \n");
    }
    PRINT_TAKEN(3, "Rx current state value is %d\n", static_cast<int>(*state));
    if (*state >= info->state_count) {
        return refuse(state, 1, "Invalid state rx as current state\n");
    }
    if (info->table == nullptr) {
        return refuse(state, 0, "State table pointer to set to NULL\n");
    }
    const state_row &row = info->table[*state];
    if (row.pre_check != nullptr && row.pre_check(context, argument) != 0) {
        run_post_step(row, context, argument);
        return 0;
    }
    uint32_t next = row.success_state;
    if (row.event_table == nullptr) {
        next = run_handler(row, *state, context, argument);
    } else if (!take_event(*row.event_table, event, context, argument, &next)) {
        *state = invalid_state;
        run_post_step(row, context, argument);
        return DIAG_ERR_INVALID_ARG;
    }
    run_post_step(row, context, argument);
    *state = next;
    return 0;
}
