/* SPDX-License-Identifier: MIT */
#include "broker_options.h"

#include <arpa/inet.h>

#include "message.h"
#include "options.h"

namespace boardsim {

namespace {

using enum option_kind;
using enum presence;

constexpr number_form port_form = {10, 1, UINT16_MAX};
constexpr number_form percent_form = {10, 1, 100};
constexpr number_form count_form = {10, 1, UINT64_MAX};
constexpr number_form ms_form = {10, 1, 600000};
constexpr number_form type_form = {10, 1, max_type};

constexpr option_spec broker_options[] = {
    {"ip", word, optional},
    {"port", number, optional, port_form},
    {"seed", number, optional, count_form},
    {"lose", number, optional, percent_form},
    {"double", number, optional, percent_form},
    {"delay", word, optional},
    {"reorder", number, optional, percent_form},
    {"damage", number, optional, percent_form},
    {"split", number, optional, percent_form},
    {"join", number, optional, percent_form},
    {"ack-first", number, optional, percent_form},
    {"late", number, optional, ms_form},
    {"refuse", number, optional, count_form},
    {"refuse-type", word, optional},
    {"refuse-word", word, optional},
    {"not-found", flag, optional},
    {"silent", flag, optional},
    {"silent-after", number, optional, count_form},
    {"max-requests", number, optional, count_form},
    {"dyn-id", word, optional},
};

/// Calls `take` with each "LEFT:RIGHT" of a list; false, told, when one of them is not taken.
template <typename Take> bool each_pair(std::string_view option, std::string_view list, Take take)
{
    while (!list.empty()) {
        const std::string_view item = list.substr(0, list.find(','));
        const size_t colon = item.find(':');
        if (colon == std::string_view::npos || !take(item.substr(0, colon), item.substr(colon + 1))) {
            complain_usage("malformed value of --%s: %s", std::string(option).c_str(),
                           std::string(item).c_str());
            return false;
        }
        list.remove_prefix(std::min(list.size(), item.size() + 1));
    }
    return true;
}

bool take_delay(const option_values &values, mischief_rates &rates)
{
    return each_pair("delay", text_of(values, "delay"), [&](std::string_view percent, std::string_view ms) {
        const auto rate = parse_number(percent, percent_form);
        const auto time = parse_number(ms, ms_form);
        rates.delay = static_cast<uint32_t>(rate.value_or(0));
        rates.delay_ms = static_cast<uint32_t>(time.value_or(0));
        return rate && time;
    });
}

bool take_refusals(const option_values &values, broker_settings &out)
{
    const auto take = [&](std::string_view type, std::string_view count) {
        const auto which = parse_number(type, type_form);
        const auto many = parse_number(count, count_form);
        if (which && many) {
            out.refuse_type[static_cast<size_t>(*which)] = *many;
        }
        return which && many;
    };
    return each_pair("refuse-type", text_of(values, "refuse-type"), take);
}

bool take_dynamic_ids(const option_values &values, broker_settings &out)
{
    return each_pair("dyn-id", text_of(values, "dyn-id"), [&](std::string_view id, std::string_view name) {
        const auto number = parse_number(id, hex4_word);
        out.dynamic_ids[static_cast<uint16_t>(number.value_or(0))] = name;
        return number.has_value();
    });
}

// The broker is a test's own: nothing outside this host may reach it.
bool take_address(const option_values &values, sockaddr_in &address)
{
    const std::string ip(given(values, "ip") ? text_of(values, "ip") : "127.0.0.1");
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(number_of(values, "port")));
    if (inet_pton(AF_INET, ip.c_str(), &address.sin_addr) != 1 ||
        ntohl(address.sin_addr.s_addr) >> 24 != IN_LOOPBACKNET) {
        complain_usage("--ip is no loopback address: %s", ip.c_str());
        return false;
    }
    return true;
}

void take_rates(const option_values &values, mischief_rates &rates)
{
    const auto percent = [&](const char *name) { return static_cast<uint32_t>(number_of(values, name)); };
    rates.seed = given(values, "seed") ? number_of(values, "seed") : rates.seed;
    rates.lose = percent("lose");
    rates.twice = percent("double");
    rates.reorder = percent("reorder");
    rates.damage = percent("damage");
    rates.split = percent("split");
    rates.join = percent("join");
    rates.ack_first = percent("ack-first");
}

std::optional<uint64_t> number_if_given(const option_values &values, const char *name)
{
    return given(values, name) ? std::optional(number_of(values, name)) : std::nullopt;
}

} // namespace

std::optional<broker_settings> parse_broker_options(std::span<const char *const> args)
{
    const std::optional<option_values> values = parse_options(args, broker_options);
    broker_settings out;
    if (!values || !take_address(*values, out.address) || !take_delay(*values, out.rates) ||
        !take_refusals(*values, out) || !take_dynamic_ids(*values, out)) {
        return std::nullopt;
    }
    take_rates(*values, out.rates);
    out.late_ms = static_cast<uint32_t>(number_of(*values, "late"));
    out.refuse = number_of(*values, "refuse");
    out.not_found = given(*values, "not-found");
    out.max_requests = number_if_given(*values, "max-requests");
    out.silent_after = given(*values, "silent") ? 0 : number_if_given(*values, "silent-after");
    if (given(*values, "refuse-word")) {
        out.refusal = text_of(*values, "refuse-word");
    }
    return out;
}

} // namespace boardsim
