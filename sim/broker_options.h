/* SPDX-License-Identifier: MIT */
// The command line of boardsim broker.
#ifndef BOARDSIM_BROKER_OPTIONS_H
#define BOARDSIM_BROKER_OPTIONS_H

#include <array>
#include <cstdint>
#include <map>
#include <netinet/in.h>
#include <optional>
#include <span>
#include <string>

#include "mischief.h"

namespace boardsim {

struct broker_settings {
    sockaddr_in address = {}; // always of this host alone
    mischief_rates rates;
    uint32_t late_ms = 0;                                     // what every answer is late
    uint64_t refuse = 0;                                      // the first requests that are refused
    std::array<uint64_t, max_type + 1> refuse_type = {};      // ...of each type
    std::string refusal = "Busy";                             // the word that refuses
    bool not_found = false;                                   // type 0: "Req not found"
    std::optional<uint64_t> silent_after;                     // answers that many requests and no more
    std::optional<uint64_t> max_requests;                     // ends after that many
    std::map<uint16_t, std::string, std::less<>> dynamic_ids; // names to tell, by number
};

/// Nothing, told on standard error, when the arguments are wrong.
std::optional<broker_settings> parse_broker_options(std::span<const char *const> args);

} // namespace boardsim

#endif
