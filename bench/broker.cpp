/* SPDX-License-Identifier: MIT */
// What a request through the bus broker costs beside the bare exchange of the same bytes.
#include <arpa/inet.h>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <boarddiag.h>

#include "bench/measure.h"

namespace {

constexpr int exchanges = 4000; // a call
constexpr int callers = 8;
constexpr int tick_100_ms = 1;

struct sockaddr_in broker_address;
pid_t broker = -1;
struct tool_info client;
std::string request_frame; // of the reference exchange

void check(bool good, const char *what)
{
    if (!good) {
        fprintf(stderr, "bench: %s failed\n", what);
        exit(1);
    }
}

// ---- The answering process: one "Success" for each request, framed anew each time, for both sides alike
// ----

uint32_t hex_at(const char *frame, int offset)
{
    char digits[9] = {};
    memcpy(digits, frame + offset, 8);
    return static_cast<uint32_t>(strtoul(digits, nullptr, 16));
}

size_t make_response(const char *frame, char *response, size_t size)
{
    char data[] = "Success";
    struct busbroker_req_resp record = {};

    record.transac_id = hex_at(frame, 13);
    record.dev_id = record.dev_name = "";
    record.data = data;
    record.data_len = sizeof data - 1;
    record.crc = calculate_crc(&record);
    const uint32_t length = frame_ascii_request(&record, response, static_cast<int32_t>(size));
    response[1] = response[length - 2] = 'P';
    return length;
}

[[noreturn]] void answer(int fd)
{
    char frame[4096];
    char response[256];
    struct sockaddr_in from = {};
    socklen_t length = sizeof from;

    for (;;) {
        const ssize_t got =
            recvfrom(fd, frame, sizeof frame, 0, reinterpret_cast<struct sockaddr *>(&from), &length);
        if (got > 0) {
            const size_t size = make_response(frame, response, sizeof response);
            sendto(fd, response, size, 0, reinterpret_cast<struct sockaddr *>(&from), length);
        }
    }
}

int loopback_socket(struct sockaddr_in *address)
{
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    socklen_t length = sizeof *address;

    *address = {};
    address->sin_family = AF_INET;
    address->sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    check(bind(fd, reinterpret_cast<struct sockaddr *>(address), sizeof *address) == 0, "bind");
    getsockname(fd, reinterpret_cast<struct sockaddr *>(address), &length);
    return fd;
}

void start_broker(int processor)
{
    const int fd = loopback_socket(&broker_address);

    fflush(stdout);
    broker = fork();
    check(broker >= 0, "fork");
    if (broker == 0) {
        bench::pin(processor);
        answer(fd);
    }
    close(fd);
}

// ---- The library's client ----

struct busbroker_req_resp make_request(uint32_t transac_id)
{
    struct busbroker_req_resp request = {};

    request.tool_id = 3;
    request.inst_id = 1;
    request.transac_id = transac_id;
    request.retry_ms = 1000;
    return request;
}

void send_requests(uint32_t first_id, int count)
{
    struct busbroker_req_resp request = make_request(first_id);

    for (int i = 0; i < count; i++) {
        check(request_busbroker(&request, &client, "", "", 0, 0, 5) == 0, "request_busbroker");
    }
    free_req_texts(&request);
}

void start_client()
{
    timer_t tick;

    client = {};
    client.tool_id = 3;
    client.rx_handler = busbroker_rx_state_machine;
    client.rx_complete = busbroker_parse_update_queues;
    client.rx_stateinfo = &busbroker_rx_stateinfo;
    pthread_mutex_init(&client.tx_mutex, nullptr);
    pthread_mutex_init(&client.rx_mutex, nullptr);
    client.sock_cfg = {8, 1, 1, "127.0.0.1", ntohs(broker_address.sin_port), {}};
    check(init_timer(1, &tick, tick_100_ms) == 0, "init_timer");
    check(create_sock_threads(nullptr, nullptr, &client, sock_tx_thread, sock_rx_thread, 1) == 0,
          "create_sock_threads");
}

double one_caller()
{
    static uint32_t next_id = 1;
    const uint32_t first = next_id;

    next_id += exchanges;
    return bench::seconds([=] { send_requests(first, exchanges); });
}

double many_callers()
{
    static uint32_t next_id = 0x10000000;
    const uint32_t first = next_id;

    next_id += callers * exchanges;
    return bench::seconds([=] {
        std::array<std::thread, callers> threads;
        for (int i = 0; i < callers; i++) {
            threads[static_cast<size_t>(i)] = std::thread(
                [=] { send_requests(first + static_cast<uint32_t>(i) * exchanges, exchanges / callers); });
        }
        for (std::thread &thread : threads) {
            thread.join();
        }
    });
}

// ---- The reference: blocking sendto and recvfrom of the same bytes, in one thread ----

double ping_pong()
{
    static const int fd = [] {
        struct sockaddr_in own;
        return loopback_socket(&own);
    }();
    char buffer[4097];

    return bench::seconds([&] {
        for (int i = 0; i < exchanges; i++) {
            ssize_t done = 0;
            do {
                done = sendto(fd, request_frame.data(), request_frame.size(), 0,
                              reinterpret_cast<struct sockaddr *>(&broker_address), sizeof broker_address);
            } while (done < 0 && errno == EINTR);
            do {
                done = recvfrom(fd, buffer, sizeof buffer - 1, 0, nullptr, nullptr);
            } while (done < 0 && errno == EINTR);
        }
    });
}

std::string framed_request()
{
    struct busbroker_req_resp request = make_request(7);
    char frame[256];

    update_request(&request, "", "", 0, 0, 5);
    const uint32_t length = frame_ascii_request(&request, frame, sizeof frame);
    free(request.data);
    return {frame, length};
}

std::function<bool()> exchange_on(int client_processor, int broker_processor)
{
    return [=] {
        if (std::thread::hardware_concurrency() < 2) {
            return false;
        }
        request_frame = framed_request();
        start_broker(broker_processor);
        bench::pin(client_processor);
        start_client();
        return true;
    };
}

void end_exchange()
{
    kill(broker, SIGKILL);
    waitpid(broker, nullptr, 0);
}

// ---- Idling ----

constexpr double idle_s = 2;
constexpr timespec idle_time = {2, 0};

void sleep_through(timespec left)
{
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &left, &left) == EINTR) {
    }
}

// Processor seconds that a process of its own needs while it does nothing after `begin`.
double idle_cost(void (*begin)())
{
    int ends[2];
    double cost = 0;

    check(pipe(ends) == 0, "pipe");
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        timespec from, to;
        begin();
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &from);
        sleep_through(idle_time);
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &to);
        cost = static_cast<double>(to.tv_sec - from.tv_sec) +
               1e-9 * static_cast<double>(to.tv_nsec - from.tv_nsec);
        _exit(write(ends[1], &cost, sizeof cost) == sizeof cost ? 0 : 1);
    }
    check(read(ends[0], &cost, sizeof cost) == sizeof cost, "the idle process");
    waitpid(child, nullptr, 0);
    close(ends[0]);
    close(ends[1]);
    return cost * 10 / idle_s; // per 10 s
}

void idle_client()
{
    check(loopback_socket(&broker_address) >= 0, "socket");
    start_client();
}

void do_nothing(int)
{
}

void sleeping_program()
{
    struct sigaction action = {};
    struct itimerspec period = {{0, 100000000}, {0, 100000000}};
    timer_t timer;

    action.sa_handler = do_nothing;
    sigaction(SIGALRM, &action, nullptr);
    check(timer_create(CLOCK_REALTIME, nullptr, &timer) == 0 &&
              timer_settime(timer, 0, &period, nullptr) == 0,
          "timer");
}

} // namespace

std::vector<bench::figure> bench::broker_figures()
{
    return {
        {"request round trip, broker on the other core", "sendto/recvfrom ping-pong, pinned alike",
         bound::at_most, 1.5, one_caller, ping_pong, exchange_on(0, 1), end_exchange},
        {"request round trip, both on one core", "sendto/recvfrom ping-pong, pinned alike", bound::at_most,
         2.3, one_caller, ping_pong, exchange_on(0, 0), end_exchange},
        {"requests per second, 8 callers, broker on other core", "that ping-pong in one thread, pinned alike",
         bound::at_least, 0.45, many_callers, ping_pong, exchange_on(0, 1), end_exchange},
        {"idle client, processor time per 10 s", "a program that sleeps, 100 ms timer signal", bound::at_most,
         2, [] { return idle_cost(idle_client); }, [] { return idle_cost(sleeping_program); }},
    };
}
