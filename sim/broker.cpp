/* SPDX-License-Identifier: MIT */
// boardsim broker: the bus broker on the loopback interface, in one thread that waits for nobody.
#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <unordered_map>

#include "broker_access.h"
#include "broker_options.h"
#include "commands.h"
#include "message.h"
#include "outbox.h"

namespace boardsim {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr int receive_buffer = 4 << 20;     // room for bursts of many clients
constexpr int burst = 64;                   // datagrams taken before answers that are due go out
constexpr size_t most_remembered = 1 << 20; // requests and clients; then all of them are forgotten

constexpr std::array<const char *, counters> counter_names = {
    "received",  "good",      "bad shape", "bad crc",  "bad value", "bad data", "repeated",
    "swallowed", "refused",   "failed",    "answered", "acks",      "lost",     "doubled",
    "delayed",   "reordered", "damaged",   "split",    "joined",    "sent",     "unsent",
};

volatile sig_atomic_t stopped = 0;

void stop(int /*signal*/)
{
    stopped = 1;
}

struct broker {
    const broker_settings &settings;
    board &b;
    counter_values counts = {};
    std::array<uint64_t, max_type + 1> of_type = {};
    std::array<uint64_t, max_type + 1> refused_of_type = {};
    std::unordered_map<uint64_t, uint32_t> attempts;     // by client and checksum of the request
    std::unordered_map<uint64_t, mailbox_latch> latches; // by client
    outbox out;
};

/// Keeps a memory that clients fill from growing for ever.
template <typename Map> auto &remembered(Map &map, uint64_t key)
{
    if (map.size() >= most_remembered) {
        map.clear();
    }
    return map[key];
}

uint32_t count_attempt(broker &bb, const bus_message &request, const sockaddr_in &from)
{
    uint64_t key = client_key(from);
    key = (key << 32 | key >> 32) ^ message_crc(request);
    const uint32_t earlier = remembered(bb.attempts, key)++;
    bb.counts[count_repeated] += earlier != 0 ? 1 : 0;
    return earlier;
}

bool refuses(broker &bb, uint32_t type)
{
    const bool refused = bb.counts[count_refused] < bb.settings.refuse ||
                         bb.refused_of_type[type] < bb.settings.refuse_type[type];
    bb.counts[count_refused] += refused ? 1 : 0;
    bb.refused_of_type[type] += refused ? 1 : 0;
    return refused;
}

std::string log_line(const bus_message &request, bool refused)
{
    std::string line = "broker " + std::to_string(request.type);
    line += ' ' + (request.dev_id.empty() ? "-" : request.dev_id);
    line += ' ' + (request.dev_name.empty() ? "-" : request.dev_name);
    line += " ind=" + std::to_string(request.indication);
    line += request.data.empty() ? "" : ' ' + request.data;
    line += request.support.empty() ? "" : " support=" + request.support;
    line += refused ? " refused" : "";
    std::ranges::replace_if(
        line, [](char c) { return c < ' ' || c > '~'; }, '?');
    return line;
}

std::string answer_text(broker &bb, const bus_message &request, const bus_work &work, const sockaddr_in &from)
{
    const bool refused = refuses(bb, request.type);
    if (!lock_board(bb.b)) {
        return worded_answer(request, word_failed);
    }
    std::string text = worded_answer(request, bb.settings.refusal);
    log_command(bb.b, log_line(request, refused));
    if (!refused) {
        mailbox_latch &latch = remembered(bb.latches, client_key(from));
        text = carry_out(bb.b, request, work, bb.settings, latch);
        bb.counts[count_failed] += text.find(word_success) == std::string::npos ? 1U : 0U;
    }
    unlock_board(bb.b);
    return text;
}

void answer(broker &bb, const bus_message &request, const bus_work &work, const sockaddr_in &from)
{
    const uint32_t attempt = count_attempt(bb, request, from);
    if (bb.settings.silent_after && bb.counts[count_answered] >= *bb.settings.silent_after) {
        bb.counts[count_swallowed]++;
        return;
    }
    bb.counts[count_answered]++;
    const mischief fate = draw_mischief(bb.settings.rates, request, attempt);
    std::vector<std::string> frames;
    if (fate.ack_first) {
        frames.push_back(write_response(request, worded_answer(request, word_ack)));
        bb.counts[count_acks]++;
    }
    frames.push_back(write_response(request, answer_text(bb, request, work, from)));
    const uint32_t late = bb.settings.late_ms + (fate.delay ? bb.settings.rates.delay_ms : 0);
    post_answer(bb.out, from, std::move(frames), fate, late);
}

void take_datagram(broker &bb, std::string_view bytes, const sockaddr_in &from)
{
    constexpr std::array<counter, 4> verdict_counter = {count_good, count_bad_shape, count_bad_crc,
                                                        count_bad_value};
    bus_message request;
    bb.counts[count_received]++;
    const frame_verdict verdict = read_request(bytes, request);
    const std::optional<bus_work> work = verdict == frame_verdict::good ? read_work(request) : std::nullopt;
    if (verdict != frame_verdict::good || !work) {
        bb.counts[verdict == frame_verdict::good ? count_bad_data
                                                 : verdict_counter[static_cast<size_t>(verdict)]]++;
        return;
    }
    bb.counts[count_good]++;
    bb.of_type[request.type]++;
    answer(bb, request, *work, from);
}

bool finished(const broker &bb)
{
    return bb.settings.max_requests && bb.counts[count_good] >= *bb.settings.max_requests;
}

void take_burst(broker &bb, std::span<char> buffer)
{
    for (int i = 0; i < burst && !finished(bb); i++) {
        sockaddr_in from = {};
        socklen_t from_size = sizeof from;
        const ssize_t size = recvfrom(bb.out.fd, buffer.data(), buffer.size(), MSG_DONTWAIT,
                                      reinterpret_cast<sockaddr *>(&from), &from_size);
        if (size < 0) {
            return;
        }
        take_datagram(bb, {buffer.data(), static_cast<size_t>(size)}, from);
    }
}

/// Waits for a datagram, for the time of the next answer, or for a signal (let in only here, so that none is
/// missed between the check and the wait).
void wait_for_work(const broker &bb, const sigset_t &unblocked)
{
    pollfd ready = {bb.out.fd, static_cast<short>(finished(bb) ? 0 : POLLIN), 0};
    const std::optional<moment> due = next_due(bb.out);
    timespec time = {};
    if (due) {
        const auto left = std::max(*due - steady_clock::now(), steady_clock::duration::zero());
        const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(left).count();
        time = {static_cast<time_t>(ns / 1000000000), static_cast<long>(ns % 1000000000)};
    }
    ppoll(&ready, 1, due ? &time : nullptr, &unblocked);
}

void serve(broker &bb, const sigset_t &unblocked)
{
    std::vector<char> buffer(65536);
    while (stopped == 0 && !(finished(bb) && !next_due(bb.out))) {
        wait_for_work(bb, unblocked);
        take_burst(bb, buffer);
        send_due(bb.out);
    }
}

int open_socket(sockaddr_in &address)
{
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    socklen_t size = sizeof address;
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr *>(&address), size) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr *>(&address), &size) != 0) {
        complain("no socket: %s", strerror(errno));
        if (fd >= 0) {
            close(fd);
        }
        return -1;
    }
    // Asked for, not needed: the system grants as much as it allows.
    setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &receive_buffer, sizeof receive_buffer);
    return fd;
}

sigset_t catch_signals()
{
    struct sigaction action = {};
    action.sa_handler = stop;
    sigset_t ours;
    sigset_t before;
    sigemptyset(&ours);
    for (const int number : {SIGTERM, SIGINT}) {
        sigaction(number, &action, nullptr);
        sigaddset(&ours, number);
    }
    sigprocmask(SIG_BLOCK, &ours, &before);
    sigdelset(&before, SIGTERM);
    sigdelset(&before, SIGINT);
    return before;
}

void print_counts(const broker &bb)
{
    for (size_t i = 0; i < counters; i++) {
        printf("%s %" PRIu64 "\n", counter_names[i], bb.counts[i]);
    }
    for (size_t type = 0; type < bb.of_type.size(); type++) {
        printf("type %zu %" PRIu64 "\n", type, bb.of_type[type]);
    }
    fflush(stdout);
}

} // namespace

int run_broker(arguments args)
{
    std::optional<broker_settings> settings = parse_broker_options(args);
    if (!settings) {
        return status_usage;
    }
    board b;
    const int fd = open_board(b, getenv("BOARDSIM_DIR")) ? open_socket(settings->address) : -1;
    if (fd >= 0) {
        const sigset_t unblocked = catch_signals();
        broker bb = {
            .settings = *settings, .b = b, .attempts = {}, .latches = {}, .out = {fd, bb.counts, {}, {}}};
        printf("port %u\n", ntohs(settings->address.sin_port));
        fflush(stdout);
        serve(bb, unblocked);
        print_counts(bb);
        close(fd);
    }
    close_board(b);
    return fd >= 0 ? status_ok : status_device;
}

} // namespace boardsim
