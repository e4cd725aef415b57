/* SPDX-License-Identifier: MIT */
// The broker's answers on their way: late, lost, doubled, out of order, cut up or put together.
#ifndef BOARDSIM_OUTBOX_H
#define BOARDSIM_OUTBOX_H

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <netinet/in.h>
#include <optional>
#include <string>
#include <vector>

#include "mischief.h"

namespace boardsim {

using moment = std::chrono::steady_clock::time_point;

/// What the broker counts, and under which name it tells it.
enum counter : uint8_t {
    count_received,
    count_good,
    count_bad_shape,
    count_bad_crc,
    count_bad_value,
    count_bad_data,
    count_repeated,
    count_swallowed,
    count_refused,
    count_failed,
    count_answered,
    count_acks,
    count_lost,
    count_doubled,
    count_delayed,
    count_reordered,
    count_damaged,
    count_split,
    count_joined,
    count_sent,
    count_unsent,
    counters,
};
using counter_values = std::array<uint64_t, counters>;

struct datagram {
    sockaddr_in to;
    std::string bytes;
};

/// An answer that waits for the next one to the same client, to travel behind it or in one datagram with it.
struct held_answer {
    sockaddr_in to;
    std::vector<std::string> frames;
    bool join;
    moment deadline; // when it goes alone
};

struct outbox {
    int fd;
    counter_values &counts;
    std::multimap<moment, datagram> waiting; // equal moments keep their order
    std::map<uint64_t, held_answer> held;    // by client
};

/// A client's address as one number.
uint64_t client_key(const sockaddr_in &client);

/// Sends the frames of one answer, as `fate` tells, `late_ms` later than at once.
void post_answer(outbox &out, const sockaddr_in &to, std::vector<std::string> frames, const mischief &fate,
                 uint32_t late_ms);

/// Sends what is due.
void send_due(outbox &out);

/// When something is due next.
std::optional<moment> next_due(const outbox &out);

} // namespace boardsim

#endif
