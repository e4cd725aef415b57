/* SPDX-License-Identifier: MIT */
// A client on the loopback interface, and a scripted broker that answers it. Both live, as in a program,
// until the process ends.
#ifndef TESTS_BUSBROKER_LOOPBACK_H
#define TESTS_BUSBROKER_LOOPBACK_H

#include <arpa/inet.h>

#include "support/framed.h"

namespace diagtest {

/// What a request frame of a client with device id cpu0 and name fpga holds.
struct request_view {
    uint32_t transac_id;
    uint32_t type;
    std::string data;
};

/// A request's record that releases its texts.
struct request_record : busbroker_req_resp {
    explicit request_record(uint32_t id = 0, uint8_t req_flags = 0, uint32_t interval = 60'000)
        : busbroker_req_resp{}
    {
        transac_id = id, flags = req_flags, retry_ms = interval;
    }
    ~request_record()
    {
        free_req_texts(this);
    }
    request_record(const request_record &) = delete;
};

/// The data texts of the answers to a request; behind a "!" whole datagrams.
using script = std::function<std::vector<std::string>(const request_view &request)>;

inline uint32_t hex_at(const std::string &frame, size_t offset, size_t width)
{
    return static_cast<uint32_t>(std::stoul(frame.substr(offset, width), nullptr, 16));
}

inline std::string response_frame(const request_view &request, std::string data)
{
    busbroker_req_resp record{};
    record.transac_id = request.transac_id;
    record.req_type = request.type;
    record.data = data.data();
    return framed(record, true);
}

inline void serve(int fd, const script &answers)
{
    char buffer[4096];
    sockaddr_in from{};
    auto *address = reinterpret_cast<sockaddr *>(&from);
    socklen_t size = sizeof from;

    for (;;) {
        const ssize_t length = recvfrom(fd, buffer, sizeof buffer, 0, address, &size);
        if (length > 0) {
            const std::string frame(buffer, static_cast<size_t>(length));
            const request_view request{hex_at(frame, 13, 8), hex_at(frame, 41, 8),
                                       frame.substr(57, hex_at(frame, 51, 4))};
            for (const std::string &data : answers(request)) {
                const bool is_whole = data.starts_with("!");
                const std::string response = is_whole ? data.substr(1) : response_frame(request, data);
                sendto(fd, response.data(), response.size(), 0, address, size);
            }
        }
    }
}

inline auto *datagram_handler = busbroker_rx_state_machine; ///< of the clients made from now on

/// A client whose bound socket sends to itself; no threads.
inline tool_info *new_client()
{
    static auto &clients = *new std::vector<tool_info *>; // keeps them reachable
    tool_info *tool = clients.emplace_back(new tool_info{});
    tool->tool_id = 3;
    tool->inst_id = 1;
    tool->rx_handler = datagram_handler;
    tool->rx_complete = busbroker_parse_update_queues;
    tool->rx_stateinfo = &busbroker_rx_stateinfo;
    pthread_mutex_init(&tool->tx_mutex, nullptr);
    pthread_mutex_init(&tool->rx_mutex, nullptr);
    tool->sock_cfg = {0, 1, 1, "127.0.0.1", 0, {}};
    EXPECT_EQ(create_socket(&tool->sock_cfg, &tool->sock_fd, 0), 0u);
    socklen_t size = sizeof tool->sock_cfg.sock_addr;
    getsockname(tool->sock_fd, reinterpret_cast<sockaddr *>(&tool->sock_cfg.sock_addr), &size);
    return tool;
}

/// Starts the periodic timer, and the threads of a client connected to the port.
inline tool_info *start_client(uint16_t port, int32_t timer_type)
{
    tool_info *tool = new_client();
    tool->sock_cfg.port = port;
    timer_t timer{};
    EXPECT_EQ(init_timer(1, &timer, timer_type), 0u);
    EXPECT_EQ(create_sock_threads(nullptr, nullptr, tool, sock_tx_thread, sock_rx_thread, 1), 0u);
    return tool;
}

/// The same with a broker of its own.
inline tool_info *start_client(script answers, int32_t timer_type)
{
    const tool_info *broker = new_client();
    std::thread([fd = broker->sock_fd, answers = std::move(answers)] { serve(fd, answers); }).detach();
    return start_client(ntohs(broker->sock_cfg.sock_addr.sin_port), timer_type);
}

/// Waits for what another thread does; the test's deadline ends the wait for what never comes.
template <typename Condition> void await(Condition holds)
{
    while (!holds()) {
        std::this_thread::yield();
    }
}

inline void forget_requests(tool_info *tool)
{
    while (tool->tx_queue != nullptr) {
        deque_tool_request(tool, tool->tx_queue->transac_id);
    }
}

/// Both queues are empty, which is not to change any more.
inline bool is_idle(tool_info *tool)
{
    pthread_mutex_lock(&tool->tx_mutex);
    pthread_mutex_lock(&tool->rx_mutex);
    const bool idle = tool->tx_queue == nullptr && tool->rx_queue == nullptr;
    pthread_mutex_unlock(&tool->rx_mutex);
    pthread_mutex_unlock(&tool->tx_mutex);
    return idle;
}

} // namespace diagtest

#endif
