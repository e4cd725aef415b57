/* SPDX-License-Identifier: MIT */
// The receive state table, the marks around a frame and the life of the record between them.
#include <atomic>
#include <cstdlib>
#include <cstring>

#include "busbroker/frame.h"
#include "busbroker/receive.h"
#include "busbroker/refusal.h"
#include "core/report.h"

using boarddiag::mark_length;
using boarddiag::more_input;
using boarddiag::step_done;
using boarddiag::step_failed;

namespace {

constexpr state_row receive_row(state_fn handler, uint32_t success_state)
{
    return {check_rxtime_diff, nullptr, handler, reset_sm, 0, success_state, update_time};
}

} // namespace

extern constexpr struct state_row bus_broker_rxdata_state_table[17] = {
    receive_row(busbroker_req_resp_header_proc, 1),
    receive_row(busbroker_req_resp_tool_id_proc, 2),
    receive_row(busbroker_req_resp_inst_id_proc, 3),
    receive_row(busbroker_req_resp_transac_id_proc, 4),
    receive_row(busbroker_req_resp_dev_id_len_proc, 5),
    receive_row(busbroker_req_resp_dev_id_proc, 6),
    receive_row(busbroker_req_resp_dev_name_len_proc, 7),
    receive_row(busbroker_req_resp_dev_name_proc, 8),
    receive_row(busbroker_req_resp_req_prio_proc, 9),
    receive_row(busbroker_req_resp_req_type_proc, 10),
    receive_row(busbroker_req_resp_trasac_ind_proc, 11),
    receive_row(busbroker_req_resp_actual_datalen_proc, 12),
    receive_row(busbroker_req_resp_suprt_data_len_proc, 13),
    receive_row(busbroker_req_resp_actual_data_copy, 14),
    receive_row(busbroker_req_resp_support_data_copy, 15),
    receive_row(busbroker_req_resp_crc_proc_state, 16),
    receive_row(busbroker_req_resp_footer_validtn_state, 0),
};

extern constexpr struct state_info busbroker_rx_stateinfo = {
    bus_broker_rxdata_state_table,
    sizeof bus_broker_rxdata_state_table / sizeof bus_broker_rxdata_state_table[0],
};

namespace {

void expect_start_mark(tool_info &tool)
{
    tool.field_len = mark_length;
    memcpy(tool.mark, boarddiag::response_start, sizeof tool.mark);
}

/// Looks for the mark; a part of it at the datagram's end stays counted in field_count.
bool find_mark(tool_info &tool)
{
    while (tool.field_count < mark_length && tool.rx_index < tool.rx_len) {
        const uint8_t *from = tool.rx_buf + tool.rx_index;
        if (tool.field_count == 0) {
            const void *first = memchr(from, tool.mark[0], tool.rx_len - tool.rx_index);
            if (first == nullptr) {
                tool.rx_index = tool.rx_len;
                return false;
            }
            from = static_cast<const uint8_t *>(first);
        }
        // A byte that breaks the match is not compared with the first character again.
        const bool matches = *from == static_cast<uint8_t>(tool.mark[tool.field_count]);
        tool.field_count = matches ? tool.field_count + 1 : 0;
        tool.rx_index = static_cast<uint32_t>(from - tool.rx_buf) + 1;
    }
    return tool.field_count >= mark_length;
}

bool open_frame(tool_info &tool)
{
    boarddiag::release_frame(tool);
    tool.rx_record = static_cast<busbroker_req_resp *>(malloc(sizeof(busbroker_req_resp)));
    tool.field_buf = static_cast<char *>(malloc(boarddiag::number_buffer_size));
    if (tool.rx_record != nullptr) {
        *tool.rx_record = {};
    }
    if (tool.rx_record != nullptr && tool.field_buf != nullptr) {
        return true;
    }
    boarddiag::release_frame(tool);
    return false;
}

/// Compares what there is with the end mark, which may be spread over datagrams.
uint32_t match_end_mark(tool_info &tool)
{
    for (; tool.field_count < mark_length; tool.field_count++, tool.rx_index++) {
        if (tool.rx_index >= tool.rx_len) {
            return more_input;
        }
        if (tool.rx_buf[tool.rx_index] != static_cast<uint8_t>(tool.mark[tool.field_count])) {
            tool.field_fill = 0;
            tool.field_count = 0;
            return step_failed;
        }
    }
    return step_done;
}

/// Hands a valid record to the completion handler, which keeps none of it.
uint32_t deliver(tool_info &tool, void *argument, busbroker_req_resp *record)
{
    const bool valid = validate_busbroker_req_resp(record) == 0;

    if (valid && tool.rx_complete != nullptr) {
        tool.rx_complete(&tool, argument, record);
    }
    free_req_memory(record);
    return valid ? step_done : step_failed;
}

} // namespace

void boarddiag::release_frame(tool_info &tool)
{
    busbroker_req_resp *record = tool.rx_record;
    const bool in_record =
        record != nullptr && (tool.field_buf == record->data || tool.field_buf == record->support_data ||
                              tool.field_buf == record->dev_id || tool.field_buf == record->dev_name);
    if (!in_record) {
        free(tool.field_buf);
    }
    free_req_memory(record);
    tool.field_buf = nullptr;
    tool.rx_record = nullptr;
}

uint32_t busbroker_req_resp_header_proc(void *context, void *)
{
    auto *tool = static_cast<tool_info *>(context);

    if (tool == nullptr) {
        return step_failed;
    }
    if (tool->field_len == 0) {
        expect_start_mark(*tool);
    }
    if (!find_mark(*tool)) {
        return more_input;
    }
    tool->field_count = 0;
    tool->field_fill = 0;
    tool->field_len = boarddiag::wire_fields[0].text_width;
    if (!open_frame(*tool)) {
        REPORT_ERROR(__func__, "Mem alloc fail\n");
        return step_failed;
    }
    return step_done;
}

uint32_t busbroker_req_resp_footer_validtn_state(void *context, void *argument)
{
    auto *tool = static_cast<tool_info *>(context);

    if (tool == nullptr || tool->rx_record == nullptr) {
        return step_failed;
    }
    const uint32_t result = match_end_mark(*tool);
    if (result != step_done) {
        return result;
    }
    busbroker_req_resp *record = tool->rx_record;
    tool->rx_record = nullptr;
    boarddiag::release_frame(*tool);
    tool->field_fill = 0;
    tool->field_count = 0;
    expect_start_mark(*tool);
    return deliver(*tool, argument, record);
}

uint32_t reset_sm(void *context, void *)
{
    auto *tool = static_cast<tool_info *>(context);

    if (tool != nullptr) {
        tool->rx_state = 0;
        tool->field_count = 0;
        tool->field_fill = 0;
        expect_start_mark(*tool);
        boarddiag::release_frame(*tool);
    }
    return 0;
}

void free_req_memory(struct busbroker_req_resp *req)
{
    if (req == nullptr) {
        return;
    }
    free(req->support_data);
    free(req->data);
    // Those of a received record are its own, though the record promises not to change them.
    free(const_cast<char *>(req->dev_id));
    free(const_cast<char *>(req->dev_name));
    free(req);
}

uint32_t busbroker_rx_state_machine(struct tool_info *tool, void *argument)
{
    uint32_t status = 0;

    if (tool == nullptr) {
        REPORT_ERROR(__func__, "NULL Ptr received as tool info\n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (tool->rx_stateinfo == nullptr) {
        boarddiag::tell_refusal(0, "NULL Ptr received as state table info \n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (std::atomic_ref(tool->rx_reset).load(std::memory_order_relaxed) != 0) {
        std::atomic_ref(tool->rx_reset).store(0);
        reset_sm(tool, argument); // a frame that was half read when a request was given up ends here
    }
    boarddiag::begin_datagram(tool);
    while (status == 0 && tool->rx_index < tool->rx_len) {
        status = state_traversal(tool->rx_stateinfo, &tool->rx_state, 0, tool, argument);
    }
    boarddiag::end_datagram(tool);
    if (status != 0) {
        diag_print(0, "Error with the state machine info or the input event is invalid \n");
    }
    tool->rx_index = 0;
    return status;
}
