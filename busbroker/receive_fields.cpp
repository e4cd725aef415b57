/* SPDX-License-Identifier: MIT */
// The fields of a response: collecting one over any number of datagrams, and what each does with its text.
#include <algorithm>
#include <cstdlib>

#include "busbroker/receive.h"
#include "busbroker/receive_rules.h"
#include "core/report.h"

using boarddiag::excess;
using boarddiag::field_rule;
using boarddiag::field_rules;
using boarddiag::more_input;
using boarddiag::number_buffer_size;
using boarddiag::step_done;
using boarddiag::step_failed;
using boarddiag::wire_field;
using boarddiag::wire_field_count;
using boarddiag::wire_fields;
using boarddiag::wire_index;

namespace {

constexpr uint64_t each_byte(uint8_t byte)
{
    return UINT64_MAX / UINT8_MAX * byte;
}

constexpr bool has_zero_byte(uint64_t bytes)
{
    return ((bytes - each_byte(0x01)) & ~bytes & each_byte(0x80)) != 0;
}

char *append_one_by_one(char *to, const uint8_t *from, uint32_t count)
{
    for (uint32_t i = 0; i < count; i++) {
        // Stored in any case, kept or overwritten: there is room for all of them and the loop has no branch.
        *to = static_cast<char>(from[i]);
        to += from[i] != '\n' && from[i] != '\0' ? 1 : 0;
    }
    return to;
}

bool holds_skipped(uint64_t bytes)
{
    return has_zero_byte(bytes) || has_zero_byte(bytes ^ each_byte('\n'));
}

/// Appends the bytes that are neither newlines nor zeros, eight at a time where none of them is.
char *append_kept(char *to, const uint8_t *from, uint32_t count)
{
    constexpr uint32_t size = sizeof(uint64_t);

    for (; count >= size; from += size, count -= size) {
        uint64_t bytes;
        memcpy(&bytes, from, size);
        if (holds_skipped(bytes)) {
            to = append_one_by_one(to, from, size);
        } else {
            memcpy(to, &bytes, size);
            to += size;
        }
    }
    return append_one_by_one(to, from, count);
}

/// Takes a number that the datagram holds whole, as it nearly always does; false leaves it to collect().
template <uint32_t width> bool collect_whole(tool_info &tool)
{
    uint64_t bytes = each_byte('0');

    if (tool.field_count != 0 || tool.field_fill != 0 || tool.field_len != width ||
        tool.rx_index + width > tool.rx_len) {
        return false;
    }
    memcpy(&bytes, tool.rx_buf + tool.rx_index, width);
    if (holds_skipped(bytes)) {
        return false;
    }
    memcpy(tool.field_buf, &bytes, width);
    tool.field_buf[width] = '\0';
    tool.field_fill = width;
    tool.rx_index += width;
    return true;
}

/// Takes what the datagram holds of the current field; true when the field is complete and its text ends.
bool collect(tool_info &tool)
{
    if (tool.rx_index >= tool.rx_len) {
        return false;
    }
    const uint32_t missing = tool.field_len - std::min(tool.field_len, tool.field_count);
    const uint32_t count = std::min(missing, tool.rx_len - tool.rx_index);
    char *end = append_kept(tool.field_buf + tool.field_fill, tool.rx_buf + tool.rx_index, count);
    tool.rx_index += count;
    tool.field_fill = static_cast<uint32_t>(end - tool.field_buf);
    if (count < missing) {
        tool.field_count += count;
        return false;
    }
    *end = '\0';
    tool.field_count = 0;
    return true;
}

/// Whether the tool is in the middle of a frame, as every state behind the start mark needs it.
bool is_reading(const tool_info *tool)
{
    return tool != nullptr && tool->rx_record != nullptr && tool->field_buf != nullptr;
}

/// Kept apart from malloc(), which the compiler would turn into the slower calloc().
[[gnu::noinline]] void clear(char *text, uint32_t size)
{
    memset(text, 0, size);
}

/// The buffer for the next field. The number buffer is released for it; a text belongs to the record by now.
bool replace_buffer(tool_info &tool, const wire_field &done, const wire_field &next, bool in_record)
{
    const uint32_t size = boarddiag::is_text(next) ? tool.field_len + 1 : number_buffer_size;

    if (!boarddiag::is_text(done)) {
        free(tool.field_buf);
    }
    tool.field_buf = static_cast<char *>(malloc(size));
    if (tool.field_buf != nullptr && in_record) {
        clear(tool.field_buf, size);
        boarddiag::store_text(*tool.rx_record, next, tool.field_buf);
    }
    return tool.field_buf != nullptr;
}

uint32_t give_up(const char *function, tool_info &tool, bool told)
{
    if (told) {
        REPORT_ERROR(function, "Mem alloc fail\n");
    }
    boarddiag::release_frame(tool);
    return step_failed;
}

void expect_end_mark(tool_info &tool)
{
    tool.field_len = boarddiag::mark_length;
    memcpy(tool.mark, boarddiag::response_end, sizeof tool.mark);
}

/// Gets ready for the field, or the end mark, behind the one at `index`.
template <uint32_t index> uint32_t expect_next(const char *function, tool_info &tool)
{
    tool.field_fill = 0;
    if constexpr (index + 1 == wire_field_count) {
        expect_end_mark(tool);
    } else {
        constexpr const wire_field &done = wire_fields[index];
        constexpr const wire_field &next = wire_fields[index + 1];
        constexpr bool in_record = field_rules[index + 1].in_record;
        tool.field_len =
            boarddiag::is_text(next) ? boarddiag::text_length(*tool.rx_record, next) : next.text_width;
        const bool same_buffer = !boarddiag::is_text(done) && !boarddiag::is_text(next);
        if (!same_buffer && !replace_buffer(tool, done, next, in_record)) {
            return give_up(function, tool, !in_record);
        }
    }
    return step_done;
}

void tell_number(const field_rule &rule, uint32_t value)
{
    if (rule.first_format != nullptr) {
        PRINT_TAKEN(rule.level, rule.first_format, value);
    }
    if (value <= rule.limit || rule.above_limit == excess::refuse) {
        PRINT_TAKEN(rule.level, rule.format, value);
    }
    if (value <= rule.limit) {
        return;
    }
    if (rule.above_limit == excess::refuse) {
        diag_print(rule.excess_level, "%s", rule.excess_format);
    } else {
        diag_print(rule.excess_level, rule.excess_format, value, rule.limit);
    }
}

void tell_text(const field_rule &rule, const tool_info &tool)
{
    if (tool.field_fill == 0 && !rule.tell_empty) {
        return;
    }
    if (rule.in_record) {
        PRINT_TAKEN(rule.level, rule.format, tool.field_buf, tool.field_fill);
    } else {
        PRINT_TAKEN(rule.level, rule.format, tool.field_buf);
    }
}

template <uint32_t index> uint32_t read_number(const char *function, void *context)
{
    auto *tool = static_cast<tool_info *>(context);

    if (!is_reading(tool)) {
        return step_failed;
    }
    if (!collect_whole<wire_fields[index].text_width>(*tool) && !collect(*tool)) {
        return more_input;
    }
    constexpr const wire_field &field = wire_fields[index];
    constexpr const field_rule &rule = field_rules[index];
    const uint32_t value = atoh(tool->field_buf);
    if (value > rule.limit && rule.above_limit == excess::refuse_unseen) {
        return step_failed;
    }
    boarddiag::store_value(*tool->rx_record, field.offset, field.size, value);
    tell_number(rule, value);
    if (value > rule.limit && rule.above_limit == excess::refuse) {
        return step_failed;
    }
    return expect_next<index>(function, *tool);
}

/// The collected text becomes the record's, with the length that was stored of it.
template <uint32_t index> uint32_t read_text(const char *function, void *context)
{
    auto *tool = static_cast<tool_info *>(context);

    if (!is_reading(tool)) {
        return step_failed;
    }
    if (!collect(*tool)) {
        return more_input;
    }
    constexpr const wire_field &field = wire_fields[index];
    constexpr const field_rule &rule = field_rules[index];
    boarddiag::store_text(*tool->rx_record, field, tool->field_buf);
    boarddiag::store_value(*tool->rx_record, field.length_offset, field.size, tool->field_fill);
    tell_text(rule, *tool);
    return expect_next<index>(function, *tool);
}

} // namespace

uint32_t busbroker_rx_complt_curnt_state_data(struct tool_info *tool)
{
    return tool != nullptr && tool->field_buf != nullptr && collect(*tool) ? 1 : 0;
}

uint32_t busbroker_req_resp_tool_id_proc(void *context, void *)
{
    return read_number<wire_index("tool_id")>(__func__, context);
}

uint32_t busbroker_req_resp_inst_id_proc(void *context, void *)
{
    return read_number<wire_index("inst_id")>(__func__, context);
}

uint32_t busbroker_req_resp_transac_id_proc(void *context, void *)
{
    return read_number<wire_index("transac_id")>(__func__, context);
}

uint32_t busbroker_req_resp_dev_id_len_proc(void *context, void *)
{
    return read_number<wire_index("dev_id_len")>(__func__, context);
}

uint32_t busbroker_req_resp_dev_id_proc(void *context, void *)
{
    return read_text<wire_index("dev_id")>(__func__, context);
}

uint32_t busbroker_req_resp_dev_name_len_proc(void *context, void *)
{
    return read_number<wire_index("dev_name_len")>(__func__, context);
}

uint32_t busbroker_req_resp_dev_name_proc(void *context, void *)
{
    return read_text<wire_index("dev_name")>(__func__, context);
}

uint32_t busbroker_req_resp_req_prio_proc(void *context, void *)
{
    return read_number<wire_index("req_prio")>(__func__, context);
}

uint32_t busbroker_req_resp_req_type_proc(void *context, void *)
{
    return read_number<wire_index("req_type")>(__func__, context);
}

uint32_t busbroker_req_resp_trasac_ind_proc(void *context, void *)
{
    return read_number<wire_index("transac_ind")>(__func__, context);
}

uint32_t busbroker_req_resp_actual_datalen_proc(void *context, void *)
{
    return read_number<wire_index("data_len")>(__func__, context);
}

uint32_t busbroker_req_resp_suprt_data_len_proc(void *context, void *)
{
    return read_number<wire_index("support_data_len")>(__func__, context);
}

uint32_t busbroker_req_resp_actual_data_copy(void *context, void *)
{
    return read_text<wire_index("data")>(__func__, context);
}

uint32_t busbroker_req_resp_support_data_copy(void *context, void *)
{
    return read_text<wire_index("support_data")>(__func__, context);
}

uint32_t busbroker_req_resp_crc_proc_state(void *context, void *)
{
    return read_number<wire_index("crc")>(__func__, context);
}
