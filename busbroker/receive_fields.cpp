/* SPDX-License-Identifier: MIT */
// The fields of a response: collecting one over any number of datagrams, and what each does with its text.
#include <algorithm>
#include <climits>
#include <cstdlib>

#include "busbroker/receive.h"
#include "busbroker/receive_rules.h"
#include "core/printable.h"
#include "core/report.h"

using boarddiag::excess;
using boarddiag::field_rule;
using boarddiag::field_rules;
using boarddiag::more_input;
using boarddiag::step_done;
using boarddiag::step_failed;
using boarddiag::wire_field;
using boarddiag::wire_fields;
using boarddiag::wire_index;

namespace {

constexpr uint32_t word_size = sizeof(uint64_t);

constexpr uint64_t each_byte(uint8_t byte)
{
    return UINT64_MAX / UINT8_MAX * byte;
}

bool has_zero_byte(uint64_t bytes)
{
    return ((bytes - each_byte(0x01)) & ~bytes & each_byte(0x80)) != 0;
}

bool holds_skipped(uint64_t bytes)
{
    return has_zero_byte(bytes) || has_zero_byte(bytes ^ each_byte('\n'));
}

/// Takes a number that the datagram holds whole, and more behind it, as it nearly always does; false leaves
/// it to collect(). A number's buffer has room for a word.
bool collect_whole(tool_info &tool, uint32_t width)
{
    uint64_t bytes;

    if (tool.field_count != 0 || tool.field_fill != 0 || tool.field_len != width ||
        tool.rx_index + word_size > tool.rx_len) {
        return false;
    }
    memcpy(&bytes, tool.rx_buf + tool.rx_index, word_size);
    const uint64_t own = UINT64_MAX >> (CHAR_BIT * (word_size - width));
    bytes = (bytes & own) | (each_byte('0') & ~own);
    if (holds_skipped(bytes)) {
        return false;
    }
    memcpy(tool.field_buf, &bytes, word_size);
    tool.field_buf[width] = '\0';
    tool.field_fill = width;
    tool.rx_index += width;
    return true;
}

/// Appends the bytes that are neither newlines nor zeros, eight at a time where none of them is.
char *append_kept(char *to, const uint8_t *from, uint32_t count)
{
    while (count != 0) {
        uint64_t bytes = 0;
        if (count >= word_size) {
            memcpy(&bytes, from, word_size);
        }
        const uint32_t taken = holds_skipped(bytes) ? 1 : word_size;
        if (taken == 1) {
            // Stored in any case, kept or overwritten: there is room for all of them.
            *to = static_cast<char>(*from);
            to += *from != '\n' && *from != '\0' ? 1 : 0;
        } else {
            memcpy(to, &bytes, word_size);
            to += word_size;
        }
        from += taken;
        count -= taken;
    }
    return to;
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

/// Kept apart from malloc(), which the compiler would turn into the slower calloc().
[[gnu::noinline]] void clear(char *text, uint32_t size)
{
    memset(text, 0, size);
}

/// The buffer for the next field. The number buffer is released for it; a text belongs to the record by now.
bool replace_buffer(tool_info &tool, const wire_field &done, const wire_field &next, bool in_record)
{
    const uint32_t size = boarddiag::is_text(next) ? tool.field_len + 1 : boarddiag::number_buffer_size;

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

uint32_t give_up(const char *function, tool_info &tool)
{
    if (function != nullptr) {
        REPORT_ERROR(function, "Mem alloc fail\n");
    }
    boarddiag::release_frame(tool);
    return step_failed;
}

/// Gets ready for the field, or the end mark, behind the one at `index`.
uint32_t expect_next(tool_info &tool, uint32_t index)
{
    const wire_field &done = wire_fields[index];

    tool.field_fill = 0;
    if (index == boarddiag::checked_field_count) {
        tool.field_len = boarddiag::mark_length;
        memcpy(tool.mark, boarddiag::response_end, sizeof tool.mark);
        return step_done;
    }
    const wire_field &next = wire_fields[index + 1];
    tool.field_len =
        boarddiag::is_text(next) ? boarddiag::text_length(*tool.rx_record, next) : next.text_width;
    const bool same_buffer = !boarddiag::is_text(done) && !boarddiag::is_text(next);
    if (!same_buffer && !replace_buffer(tool, done, next, field_rules[index + 1].in_record)) {
        return give_up(field_rules[index].no_memory_in, tool);
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
    if (value > rule.limit) {
        diag_print(rule.excess_level, rule.excess_format, value, rule.limit);
    }
}

[[gnu::cold]] void tell_text(const field_rule &rule, const tool_info &tool)
{
    char shown[boarddiag::shown_size];

    if (tool.field_fill != 0 || rule.tell_empty) {
        boarddiag::printable(shown, {tool.field_buf, tool.field_fill});
        diag_print(rule.level, rule.format, shown, tool.field_fill); // a device text is told without length
    }
}

bool take_number(const field_rule &rule, const wire_field &field, const tool_info &tool)
{
    const uint32_t value = atoh(tool.field_buf);

    if (value > rule.limit && rule.above_limit == excess::refuse_unseen) {
        return false;
    }
    boarddiag::store_value(*tool.rx_record, field.offset, field.size, value);
    tell_number(rule, value);
    return value <= rule.limit || rule.above_limit == excess::keep;
}

/// The collected text becomes the record's, with the length that was stored of it.
bool take_text(const field_rule &rule, const wire_field &field, const tool_info &tool)
{
    boarddiag::store_text(*tool.rx_record, field, tool.field_buf);
    boarddiag::store_value(*tool.rx_record, field.length_offset, field.size, tool.field_fill);
    if (boarddiag::is_message_taken(rule.level)) {
        tell_text(rule, tool);
    }
    return true;
}

/// Takes the field at `index`, in the middle of a frame as every state behind the start mark is. One body for
/// all fields: a frame is small beside the receive that brought it.
[[gnu::noinline]] uint32_t read_field(void *context, uint32_t index)
{
    auto *tool = static_cast<tool_info *>(context);

    if (tool == nullptr || tool->rx_record == nullptr || tool->field_buf == nullptr) {
        return step_failed;
    }
    const uint32_t width = wire_fields[index].text_width;
    if (!(width != 0 && collect_whole(*tool, width)) && !collect(*tool)) {
        return more_input;
    }
    const auto take = boarddiag::is_text(wire_fields[index]) ? take_text : take_number;
    return take(field_rules[index], wire_fields[index], *tool) ? expect_next(*tool, index) : step_failed;
}

} // namespace

uint32_t busbroker_rx_complt_curnt_state_data(struct tool_info *tool)
{
    return tool != nullptr && tool->field_buf != nullptr && collect(*tool) ? 1 : 0;
}

uint32_t busbroker_req_resp_tool_id_proc(void *context, void *)
{
    return read_field(context, wire_index("tool_id"));
}

uint32_t busbroker_req_resp_inst_id_proc(void *context, void *)
{
    return read_field(context, wire_index("inst_id"));
}

uint32_t busbroker_req_resp_transac_id_proc(void *context, void *)
{
    return read_field(context, wire_index("transac_id"));
}

uint32_t busbroker_req_resp_dev_id_len_proc(void *context, void *)
{
    return read_field(context, wire_index("dev_id_len"));
}

uint32_t busbroker_req_resp_dev_id_proc(void *context, void *)
{
    return read_field(context, wire_index("dev_id"));
}

uint32_t busbroker_req_resp_dev_name_len_proc(void *context, void *)
{
    return read_field(context, wire_index("dev_name_len"));
}

uint32_t busbroker_req_resp_dev_name_proc(void *context, void *)
{
    return read_field(context, wire_index("dev_name"));
}

uint32_t busbroker_req_resp_req_prio_proc(void *context, void *)
{
    return read_field(context, wire_index("req_prio"));
}

uint32_t busbroker_req_resp_req_type_proc(void *context, void *)
{
    return read_field(context, wire_index("req_type"));
}

uint32_t busbroker_req_resp_trasac_ind_proc(void *context, void *)
{
    return read_field(context, wire_index("transac_ind"));
}

uint32_t busbroker_req_resp_actual_datalen_proc(void *context, void *)
{
    return read_field(context, wire_index("data_len"));
}

uint32_t busbroker_req_resp_suprt_data_len_proc(void *context, void *)
{
    return read_field(context, wire_index("support_data_len"));
}

uint32_t busbroker_req_resp_actual_data_copy(void *context, void *)
{
    return read_field(context, wire_index("data"));
}

uint32_t busbroker_req_resp_support_data_copy(void *context, void *)
{
    return read_field(context, wire_index("support_data"));
}

uint32_t busbroker_req_resp_crc_proc_state(void *context, void *)
{
    return read_field(context, wire_index("crc"));
}
