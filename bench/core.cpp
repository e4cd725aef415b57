/* SPDX-License-Identifier: MIT */
// Messages, dumps, and the bus broker's frames on their way out and in.
#include <arpa/inet.h>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <zlib.h>

#include <boarddiag.h>

#include "bench/measure.h"
#include "bench/reference.h"

namespace {

double repeated(int times, const std::function<void()> &work)
{
    return bench::seconds([&] {
        for (int i = 0; i < times; i++) {
            work();
        }
    });
}

// ---- Messages ----

constexpr int messages = 2000000;

bench::figure message_figure()
{
    return {"diag_print that no sink takes",
            "an empty variadic call",
            bench::bound::at_most,
            2,
            [] {
                return bench::seconds([] {
                    for (int i = 0; i < messages; i++) {
                        diag_print(3, "value %d of %s\n", i, "x");
                    }
                });
            },
            [] {
                return bench::seconds([] {
                    for (int i = 0; i < messages; i++) {
                        empty_variadic(3, "value %d of %s\n", i, "x");
                    }
                });
            }};
}

// ---- Dumps ----

constexpr uint32_t dump_size = 1 << 20;

std::vector<uint8_t> dump_data()
{
    std::vector<uint8_t> data(dump_size);
    for (size_t i = 0; i < data.size(); i++) {
        data[i] = static_cast<uint8_t>(i * 7);
    }
    return data;
}

void dump(const std::vector<uint8_t> &data)
{
    dump_hex(data.data(), 8, dump_size, 0, 1, 1, -2);
    fflush(stdout);
}

// Runs `work` with standard output going to `fd`.
void with_output(int fd, const std::function<void()> &work)
{
    fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    dup2(fd, STDOUT_FILENO);
    work();
    fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
}

std::vector<std::string> dumped_lines(const std::vector<uint8_t> &data)
{
    std::vector<std::string> lines;
    const int file = memfd_create("dump", MFD_CLOEXEC);
    with_output(file, [&] { dump(data); });
    FILE *text = fdopen(file, "r");
    rewind(text);
    for (char line[256]; fgets(line, sizeof line, text) != nullptr;) {
        lines.emplace_back(line);
    }
    fclose(text);
    return lines;
}

bench::figure dump_figure()
{
    static const auto data = dump_data();
    static std::vector<std::string> lines;
    static int quiet = -1;

    const auto to_null = [](const std::function<void()> &work) {
        double taken = 0;
        with_output(quiet, [&] { taken = bench::seconds(work); });
        return taken;
    };
    return {"dump_hex of 1 MiB to /dev/null",
            "fputs of the same lines",
            bench::bound::at_most,
            8,
            [=] { return to_null([] { dump(data); }); },
            [=] {
                return to_null([] {
                    for (const std::string &line : lines) {
                        fputs(line.c_str(), stdout);
                    }
                    fflush(stdout);
                });
            },
            [] {
                set_log_level(-3); // the dump's level reaches the console alone
                set_verb_level(-2);
                quiet = open("/dev/null", O_WRONLY | O_CLOEXEC);
                lines = dumped_lines(data);
                return lines.size() > dump_size / 16;
            },
            [] {
                set_log_level(-1);
                set_verb_level(-1);
                close(quiet);
            }};
}

// ---- Frames ----

constexpr int frames = 20000;
char frame_text[512];

struct busbroker_req_resp read_request()
{
    struct busbroker_req_resp request = {};
    request.tool_id = 3;
    request.inst_id = 1;
    request.transac_id = 7;
    update_busbroker_req_fields(&request, 0x10, 1, 8, nullptr, 0, BB_REQ_READ, 0x1c, nullptr, 0);
    return request;
}

void make_frame(struct busbroker_req_resp *request)
{
    update_request(request, "cpu0", "fpga", 0, BB_REQ_READ, 5);
    frame_ascii_request(request, frame_text, sizeof frame_text);
}

uLong chain(uLong crc, const void *data, size_t length)
{
    return crc32(crc, static_cast<const Bytef *>(data), static_cast<uInt>(length));
}

volatile uLong crc_sink;

// The pieces that the frame's CRC covers.
void chain_pieces(const struct busbroker_req_resp &r)
{
    uLong crc = 0;
    crc = chain(crc, &r.tool_id, 1);
    crc = chain(crc, &r.inst_id, 4);
    crc = chain(crc, &r.transac_id, 4);
    crc = chain(crc, &r.dev_id_len, 1);
    crc = chain(crc, r.dev_id, r.dev_id_len);
    crc = chain(crc, &r.dev_name_len, 1);
    crc = chain(crc, r.dev_name, r.dev_name_len);
    crc = chain(crc, &r.req_prio, 4);
    crc = chain(crc, &r.req_type, 4);
    crc = chain(crc, &r.transac_ind, 1);
    crc = chain(crc, &r.data_len, 2);
    crc = chain(crc, &r.support_data_len, 1);
    crc = chain(crc, r.data, r.data_len);
    crc_sink = crc;
}

bench::figure request_figure()
{
    static struct busbroker_req_resp request = read_request();

    return {"update_request and frame_ascii_request",
            "zlib crc32 chained over the same pieces",
            bench::bound::at_most,
            4,
            [] { return repeated(frames, [] { make_frame(&request); }); },
            [] { return repeated(frames, [] { chain_pieces(request); }); },
            [] {
                make_frame(&request);
                return true;
            }};
}

// ---- Receiving ----

struct tool_info receiver;
uint32_t records;
std::string datagram;

uint32_t count_record(struct tool_info *, void *, struct busbroker_req_resp *)
{
    records++;
    return 0;
}

// What the broker answers.
struct busbroker_req_resp answered_record(std::string &data)
{
    struct busbroker_req_resp response = {};
    response.transac_id = 7;
    response.dev_id = "cpu0-tmp";
    response.dev_id_len = 8;
    response.dev_name = "sensor";
    response.dev_name_len = 6;
    response.req_type = BB_REQ_READ;
    response.transac_ind = 5;
    response.data = data.data();
    response.data_len = static_cast<uint16_t>(data.size());
    response.crc = calculate_crc(&response);
    return response;
}

// A response of 110 bytes, as the broker would send it.
std::string response_frame()
{
    std::string data(36, 'd');
    struct busbroker_req_resp response = answered_record(data);
    std::string text(calculate_req_len_in_ascii(&response) + 1, '\0');
    text.resize(frame_ascii_request(&response, text.data(), static_cast<int32_t>(text.size())));
    text.replace(0, 3, "RPS");
    text.replace(text.size() - 3, 3, "RPE");
    return text;
}

bool begin_receiving()
{
    datagram = response_frame();
    receiver.rx_complete = count_record;
    receiver.rx_stateinfo = &busbroker_rx_stateinfo;
    memcpy(receiver.rx_buf, datagram.data(), datagram.size());
    records = 0;
    return datagram.size() == 110;
}

// A UDP socket that sends to itself, for what a receive costs.
int loopback_socket()
{
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    struct sockaddr_in address = {};
    socklen_t length = sizeof address;

    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    bind(fd, reinterpret_cast<struct sockaddr *>(&address), sizeof address);
    getsockname(fd, reinterpret_cast<struct sockaddr *>(&address), &length);
    connect(fd, reinterpret_cast<struct sockaddr *>(&address), sizeof address);
    return fd;
}

double receive_by_machine()
{
    const uint32_t before = records;
    const double taken = bench::seconds([] {
        for (int i = 0; i < frames; i++) {
            receiver.rx_len = static_cast<uint32_t>(datagram.size());
            busbroker_rx_state_machine(&receiver, nullptr);
        }
    });
    if (records - before != frames) {
        fprintf(stderr, "bench: the receive machine lost frames\n");
        exit(1);
    }
    return taken;
}

// The receives alone: what is sent meanwhile is not timed.
double receive_by_call()
{
    static const int fd = loopback_socket();
    constexpr int burst = 50;
    uint8_t buffer[4097];
    double taken = 0;

    for (int i = 0; i < frames; i += burst) {
        for (int n = 0; n < burst; n++) {
            if (send(fd, datagram.data(), datagram.size(), 0) < 0) {
                exit(1);
            }
        }
        taken += bench::seconds([&] {
            for (int n = 0; n < burst; n++) {
                if (recvfrom(fd, buffer, sizeof buffer - 1, 0, nullptr, nullptr) < 0) {
                    exit(1);
                }
            }
        });
    }
    return taken;
}

// What the frame's CRC alone takes of it.
bench::figure crc_figure()
{
    static struct busbroker_req_resp response;
    static std::string data(36, 'd');

    return {"receive: of it, zlib's crc32 over the pieces",
            "recvfrom of that datagram",
            bench::bound::none,
            0,
            [] { return repeated(frames, [] { chain_pieces(response); }); },
            receive_by_call,
            [] {
                response = answered_record(data);
                return begin_receiving();
            }};
}

bench::figure receive_figure()
{
    return {"receive state machine, one frame of 110 bytes",
            "recvfrom of that datagram",
            bench::bound::at_most,
            0.4,
            receive_by_machine,
            receive_by_call,
            begin_receiving};
}

} // namespace

std::vector<bench::figure> bench::core_figures()
{
    return {receive_figure(), crc_figure(), request_figure(), message_figure(), dump_figure()};
}
