/* SPDX-License-Identifier: MIT */
// What a request asks for, and the data text of its answer.
#ifndef BOARDSIM_BROKER_ACCESS_H
#define BOARDSIM_BROKER_ACCESS_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board.h"
#include "broker_options.h"
#include "wire.h"

namespace boardsim {

enum bus_type : uint32_t {
    type_query = 0, // the one type that can be answered "Req not found"
    type_read = 2,
    type_write = 3,
    type_dynamic_id = 5,
    type_bus_device = 6,
};

inline constexpr std::string_view word_success = "Success";
inline constexpr std::string_view word_ack = "Rx Ack";
inline constexpr std::string_view word_not_found = "Req not found";
inline constexpr std::string_view word_failed = "Failed";       // the device is missing or refused
inline constexpr std::string_view word_no_device = "No device"; // neither name chooses a device
inline constexpr std::string_view word_too_long = "Too long";   // the bytes do not fit an answer

/// The data text of a request, read strictly.
struct bus_work {
    uint32_t address = 0;       // types 2 and 3...
    uint32_t count = 0;         //
    std::vector<uint8_t> bytes; // type 3
    std::vector<uint8_t> support;
    uint32_t dynamic_id = 0; // type 5...
    uint32_t dynamic_arg = 0;
};

/// The mailbox address that one client has set: its accesses go there, whatever address another client sets
/// in between.
struct mailbox_latch {
    std::optional<uint8_t> high;
    std::optional<uint8_t> low;
};

/// Nothing when the data or support text is not exactly what the type of the request demands.
std::optional<bus_work> read_work(const bus_message &request);

/// The data text of an answer that has only a status word (behind what the type repeats of the request).
std::string worded_answer(const bus_message &request, std::string_view word);

/// Carries the request out on the locked board; the data text of the answer.
std::string carry_out(board &b, const bus_message &request, const bus_work &work,
                      const broker_settings &settings, mailbox_latch &latch);

} // namespace boardsim

#endif
