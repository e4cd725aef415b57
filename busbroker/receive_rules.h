/* SPDX-License-Identifier: MIT */
// What the receive side tells and checks of each wire field.
#ifndef BOARDDIAG_BUSBROKER_RECEIVE_RULES_H
#define BOARDDIAG_BUSBROKER_RECEIVE_RULES_H

#include "busbroker/frame.h"

namespace boarddiag {

/// What becomes of a number above its limit.
enum class excess { keep, refuse, refuse_unseen };

/// How a field is told and checked; what stands for a number only, or for a text only, is unused in the
/// other.
struct field_rule {
    const char *format;
    int level;
    const char *first_format = nullptr; // a notice in front of the other one, at the same level
    uint32_t limit = UINT32_MAX;
    excess above_limit = excess::keep;
    const char *excess_format =
        nullptr; // told of a number above its limit; instead of the value when that is kept
    int excess_level = 0;
    bool tell_empty = true;
    bool in_record = false; // a text that the record holds, cleared, while it arrives
    const char *no_memory_in =
        nullptr; // who reports that the next field's buffer cannot be had; null: nobody does
};

inline constexpr const char data_format[] = "Rx data = %s of len %d\n";

inline constexpr field_rule field_rules[] = {
    {.format = "Rx tool id = %d\n", .level = 1},
    {.format = "Rx instance id = %d\n", .level = 1},
    {.format = "Rx transaction id = %d\n", .level = 1},
    {.format = "Rx dev id len = %d\n",
     .level = 1,
     .limit = 32,
     .excess_format = "Device id length [%d] exceeded max allowed dev id len [%d]\n",
     .no_memory_in = "busbroker_req_resp_dev_id_len_proc"},
    {.format = "dev_id = %s\n", .level = 1, .no_memory_in = "busbroker_req_resp_dev_id_proc"},
    {.format = "Rx dev name len = %d\n",
     .level = 1,
     .first_format = "dev_name_len = %d\n",
     .limit = 32,
     .excess_format = "Device name length [%d] exceeded max allowed dev name len [%d]\n",
     .no_memory_in = "busbroker_req_resp_dev_name_len_proc"},
    {.format = "dev_name = %s\n", .level = 1, .no_memory_in = "busbroker_req_resp_dev_name_proc"},
    {.format = "Rx request priority = 0x%x\n",
     .level = 1,
     .limit = 2,
     .above_limit = excess::refuse,
     .excess_format = "Invalid prority values \n"},
    {.format = "Rx request type = 0x%x\n",
     .level = 3,
     .limit = 7,
     .above_limit = excess::refuse,
     .excess_format = "Invalid req type \n",
     .excess_level = 2},
    {.format = "transac indication = 0x%x\n", .level = 3, .limit = 5, .above_limit = excess::refuse_unseen},
    {.format = "Rx total data length = %d\n", .level = 1},
    {.format = "Rx support data length = %d\n", .level = 1},
    {.format = data_format, .level = 3, .in_record = true},
    {.format = data_format,
     .level = 3,
     .tell_empty = false,
     .in_record = true,
     .no_memory_in = "busbroker_req_resp_support_data_copy"},
    {.format = "Rx CRC = 0x%x\n", .level = 3},
};
static_assert(sizeof field_rules / sizeof field_rules[0] == wire_field_count, "a rule for each field");

} // namespace boarddiag

#endif
