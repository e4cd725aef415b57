/* SPDX-License-Identifier: MIT */
// What goes wrong with an answer, decided by dice that depend only on the seed, the request and how often it
// came: a run can be repeated whatever order the threads of a program send their requests in.
#ifndef BOARDSIM_MISCHIEF_H
#define BOARDSIM_MISCHIEF_H

#include <cstdint>
#include <string>
#include <vector>

#include "wire.h"

namespace boardsim {

/// How often each fault happens, in per cent of the answers.
struct mischief_rates {
    uint64_t seed = 1;
    uint32_t lose = 0;
    uint32_t twice = 0;
    uint32_t delay = 0;
    uint32_t delay_ms = 0;
    uint32_t reorder = 0;
    uint32_t damage = 0;
    uint32_t split = 0;
    uint32_t join = 0;
    uint32_t ack_first = 0;
};

/// What happens to one answer. `dice` chooses the damaged byte and the place of a cut.
struct mischief {
    bool lose;
    bool twice;
    bool delay;
    bool reorder;
    bool damage;
    bool split;
    bool join;
    bool ack_first;
    uint64_t dice;
};

/// `attempt`: how often this request came before.
mischief draw_mischief(const mischief_rates &rates, const bus_message &request, uint32_t attempt);

/// Changes one byte so that the frame cannot be taken for good: a digit becomes another digit, any other
/// character one that is no digit.
void damage_frame(std::string &frame, uint64_t dice);

/// Cuts a datagram in two at a place that the dice choose; a single character stays whole.
std::vector<std::string> cut_datagram(const std::string &bytes, uint64_t dice);

} // namespace boardsim

#endif
