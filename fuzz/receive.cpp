/* SPDX-License-Identifier: MIT */
// The receive machine: a flag byte, then datagrams with a byte of 0xff between them; an empty one stands for
// a pause after which the machine starts anew. However the bytes are cut, they must give the same response.
#include "support.h"

#include <array>
#include <sys/time.h>

constexpr char datagram_end = '\xff';
enum flag : uint8_t { keep_checksum = 0x01, verbose = 0x02 };

/// The last state with the checksum set right first: no mutated frame would pass it otherwise.
uint32_t take_any_checksum(void *context, void *argument)
{
    const auto *tool = static_cast<tool_info *>(context);

    if (tool->rx_record != nullptr) {
        tool->rx_record->crc = calculate_crc(tool->rx_record);
    }
    return busbroker_req_resp_footer_validtn_state(context, argument);
}

const auto lenient_table = [] {
    auto table = std::to_array(bus_broker_rxdata_state_table);
    table.back().handler = take_any_checksum;
    return table;
}();
const state_info lenient = {lenient_table.data(), static_cast<uint32_t>(lenient_table.size())};

void feed(tool_info &tool, std::string_view datagram)
{
    uint8_t *end = std::copy(datagram.begin(), datagram.end(), tool.rx_buf);
    const auto behind = static_cast<size_t>(std::end(tool.rx_buf) - (end + 1));

    *end = '\0';
    tool.rx_len = static_cast<uint32_t>(datagram.size());
    __asan_poison_memory_region(end + 1, behind);
    if (busbroker_rx_state_machine(&tool, nullptr) != 0) {
        reset_sm(&tool, nullptr);
    }
    __asan_unpoison_memory_region(end + 1, behind);
}

/// Feeds datagrams of at most `limit` bytes. The machine never waits: the last step was just now, or long
/// ago.
void feed_all(tool_info &tool, std::string_view rest, size_t limit)
{
    tool.rx_complete = busbroker_parse_update_queues;
    while (rest.data() != nullptr) {
        std::string_view datagram = next_part(&rest, datagram_end);
        tool.last_step_time.tv_sec = datagram.empty() ? 0 : tool.last_step_time.tv_sec;
        for (; !datagram.empty(); datagram.remove_prefix(std::min(limit, datagram.size()))) {
            feed(tool, datagram.substr(0, limit));
            gettimeofday(&tool.last_step_time, nullptr);
        }
    }
}

void try_input(std::string_view rest)
{
    const uint8_t flags = next_byte(&rest);
    client whole, in_bytes;

    set_verb_level((flags & verbose) != 0 ? 3 : -1);
    whole.tool.rx_stateinfo = (flags & keep_checksum) != 0 ? &busbroker_rx_stateinfo : &lenient;
    in_bytes.tool.rx_stateinfo = whole.tool.rx_stateinfo;
    feed_all(whole.tool, rest, sizeof whole.tool.rx_buf - 1);
    feed_all(in_bytes.tool, rest, 1);
    require(whole.tool.rx_state == in_bytes.tool.rx_state);
    require(whole.tool.field_count == in_bytes.tool.field_count);
    const busbroker_rx_node *a = whole.filed(), *b = in_bytes.filed();
    require((a == nullptr) == (b == nullptr));
    if (a != nullptr) {
        require(a->status == b->status && a->length == b->length);
        require(a->length == 0 || memcmp(a->data, b->data, a->length) == 0);
    }
}
