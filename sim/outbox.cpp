/* SPDX-License-Identifier: MIT */
#include "outbox.h"

#include <algorithm>
#include <iterator>
#include <sys/socket.h>

namespace boardsim {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds longest_hold(50);
constexpr size_t most_waiting = 100000;   // answers; beyond that they are dropped and counted
constexpr size_t largest_datagram = 4096; // what a client takes at once

void send_now(outbox &out, const datagram &d)
{
    // A client whose buffers are full loses the answer, as on any network; the broker does not wait.
    const ssize_t sent = sendto(out.fd, d.bytes.data(), d.bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr *>(&d.to), sizeof d.to);
    out.counts[sent == static_cast<ssize_t>(d.bytes.size()) ? count_sent : count_unsent]++;
}

void schedule(outbox &out, const sockaddr_in &to, const std::vector<std::string> &datagrams, moment due)
{
    for (const std::string &bytes : datagrams) {
        if (out.waiting.size() >= most_waiting) {
            out.counts[count_unsent]++;
            continue;
        }
        for (size_t at = 0; at < bytes.size(); at += largest_datagram) {
            out.waiting.emplace(due, datagram{to, bytes.substr(at, largest_datagram)});
        }
    }
}

/// Frames that together fit a datagram travel in one.
std::vector<std::string> join_frames(outbox &out, const std::vector<std::string> &frames)
{
    std::vector<std::string> joined;
    for (const std::string &frame : frames) {
        if (!joined.empty() && joined.back().size() + frame.size() <= largest_datagram) {
            joined.back() += frame;
            out.counts[count_joined]++;
        } else {
            joined.push_back(frame);
        }
    }
    return joined;
}

std::vector<std::string> cut_datagrams(outbox &out, const std::vector<std::string> &whole,
                                       const mischief &fate)
{
    std::vector<std::string> pieces;
    for (const std::string &bytes : whole) {
        std::ranges::move(cut_datagram(bytes, fate.dice), std::back_inserter(pieces));
        out.counts[count_split]++;
    }
    return pieces;
}

/// Puts an answer held for the client, if any, before the frames (to be joined) or behind them.
void take_held(outbox &out, const sockaddr_in &to, std::vector<std::string> &frames, bool &join)
{
    const auto found = out.held.find(client_key(to));
    if (found == out.held.end()) {
        return;
    }
    const held_answer &earlier = found->second;
    if (earlier.join) {
        frames.insert(frames.begin(), earlier.frames.begin(), earlier.frames.end());
        join = true;
    } else {
        frames.insert(frames.end(), earlier.frames.begin(), earlier.frames.end());
        out.counts[count_reordered]++;
    }
    out.held.erase(found);
}

void spoil(outbox &out, std::vector<std::string> &frames, const mischief &fate)
{
    if (fate.damage) {
        damage_frame(frames.back(), fate.dice);
        out.counts[count_damaged]++;
    }
    if (fate.twice) {
        frames.push_back(frames.back());
        out.counts[count_doubled]++;
    }
    if (fate.reorder && frames.size() > 1) {
        std::ranges::reverse(frames);
        out.counts[count_reordered]++;
    }
}

void release_held(outbox &out, moment now)
{
    for (auto at = out.held.begin(); at != out.held.end();) {
        if (at->second.deadline > now) {
            ++at;
            continue;
        }
        schedule(out, at->second.to, at->second.frames, now);
        at = out.held.erase(at);
    }
}

} // namespace

uint64_t client_key(const sockaddr_in &client)
{
    return uint64_t{client.sin_addr.s_addr} << 16 | client.sin_port;
}

void post_answer(outbox &out, const sockaddr_in &to, std::vector<std::string> frames, const mischief &fate,
                 uint32_t late_ms)
{
    const moment due = steady_clock::now() + milliseconds(late_ms);
    bool join = fate.join;
    out.counts[count_delayed] += late_ms != 0 ? 1 : 0;
    if (fate.lose) {
        out.counts[count_lost]++;
        return;
    }
    spoil(out, frames, fate);
    if ((fate.join || fate.reorder) && frames.size() == 1 && !out.held.contains(client_key(to))) {
        out.held[client_key(to)] = {to, std::move(frames), fate.join, due + longest_hold};
        return;
    }
    take_held(out, to, frames, join);
    frames = join ? join_frames(out, frames) : frames;
    schedule(out, to, fate.split ? cut_datagrams(out, frames, fate) : frames, due);
}

void send_due(outbox &out)
{
    const moment now = steady_clock::now();
    release_held(out, now);
    while (!out.waiting.empty() && out.waiting.begin()->first <= now) {
        send_now(out, out.waiting.begin()->second);
        out.waiting.erase(out.waiting.begin());
    }
}

std::optional<moment> next_due(const outbox &out)
{
    std::optional<moment> next;
    if (!out.waiting.empty()) {
        next = out.waiting.begin()->first;
    }
    for (const auto &[client, answer] : out.held) {
        next = next ? std::min(*next, answer.deadline) : answer.deadline;
    }
    return next;
}

} // namespace boardsim
