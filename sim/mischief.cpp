/* SPDX-License-Identifier: MIT */
#include "mischief.h"

namespace boardsim {

namespace {

/// SplitMix64: the next number of a stream, and advances the stream.
uint64_t next_number(uint64_t &stream)
{
    stream += 0x9e3779b97f4a7c15;
    uint64_t mixed = stream;
    mixed = (mixed ^ (mixed >> 30)) * 0xbf58476d1ce4e5b9;
    mixed = (mixed ^ (mixed >> 27)) * 0x94d049bb133111eb;
    return mixed ^ (mixed >> 31);
}

bool happens(uint64_t &stream, uint32_t percent)
{
    return next_number(stream) % 100 < percent;
}

void stir(uint64_t &stream, uint64_t value)
{
    stream ^= value;
    stream = next_number(stream);
}

} // namespace

mischief draw_mischief(const mischief_rates &rates, const bus_message &request, uint32_t attempt)
{
    uint64_t stream = rates.seed;
    stir(stream, message_crc(request));
    stir(stream, attempt);
    // All are drawn, in this order, so that switching one fault on does not move the others.
    mischief drawn = {};
    drawn.lose = happens(stream, rates.lose);
    drawn.twice = happens(stream, rates.twice);
    drawn.delay = happens(stream, rates.delay);
    drawn.reorder = happens(stream, rates.reorder);
    drawn.damage = happens(stream, rates.damage);
    drawn.split = happens(stream, rates.split);
    drawn.join = happens(stream, rates.join);
    drawn.ack_first = happens(stream, rates.ack_first);
    drawn.dice = next_number(stream);
    return drawn;
}

void damage_frame(std::string &frame, uint64_t dice)
{
    constexpr std::string_view digits = "0123456789abcdef";
    if (frame.empty()) {
        return;
    }
    char &victim = frame[static_cast<size_t>(dice % frame.size())];
    const size_t digit = digits.find(victim);
    if (digit != std::string_view::npos) {
        victim = digits[digit ^ 1];
    } else {
        victim = victim == '~' ? '!' : '~';
    }
}

std::vector<std::string> cut_datagram(const std::string &bytes, uint64_t dice)
{
    if (bytes.size() < 2) {
        return {bytes};
    }
    const size_t place = 1 + static_cast<size_t>(dice % (bytes.size() - 1));
    return {bytes.substr(0, place), bytes.substr(place)};
}

} // namespace boardsim
