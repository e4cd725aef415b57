/* SPDX-License-Identifier: MIT */
#include "busbroker/loopback.h"

#include <arpa/inet.h>
#include <chrono>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <sys/socket.h>
#include <thread>

#include <boarddiag/timer.h>

namespace {

std::mutex count_mutex;
auto &frame_counts = *new std::map<uint32_t, int>; // the broker outlives static objects

uint32_t hex_at(const std::string &frame, size_t offset, size_t width)
{
    return static_cast<uint32_t>(std::stoul(frame.substr(offset, width), nullptr, 16));
}

diagtest::request_view view_of(const std::string &frame)
{
    return {hex_at(frame, 13, 8), hex_at(frame, 41, 8), frame.substr(57, hex_at(frame, 51, 4))};
}

std::string response_frame(const diagtest::request_view &request, std::string data)
{
    busbroker_req_resp record{};
    record.transac_id = request.transac_id;
    record.dev_id = record.dev_name = "";
    record.req_type = request.type;
    record.data = data.data();
    record.data_len = static_cast<uint16_t>(data.size());
    record.crc = calculate_crc(&record);
    std::string frame(calculate_req_len_in_ascii(&record) + 1, '\0');
    frame_ascii_request(&record, frame.data(), static_cast<int32_t>(frame.size()));
    frame.pop_back();
    frame[1] = frame[frame.size() - 2] = 'P';
    return frame;
}

void serve(int fd, const diagtest::script &answers)
{
    char buffer[4096];
    sockaddr_in from{};
    socklen_t size = sizeof from;

    for (;;) {
        const ssize_t length =
            recvfrom(fd, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr *>(&from), &size);
        if (length <= 0) {
            continue;
        }
        const auto request = view_of(std::string(buffer, static_cast<size_t>(length)));
        int nth = 0;
        {
            const std::lock_guard lock(count_mutex);
            nth = ++frame_counts[request.transac_id];
        }
        for (const std::string &data : answers(request, nth)) {
            const std::string frame = response_frame(request, data);
            sendto(fd, frame.data(), frame.size(), 0, reinterpret_cast<sockaddr *>(&from), size);
        }
    }
}

} // namespace

namespace diagtest {

tool_info *new_client()
{
    static auto &clients = *new std::vector<tool_info *>; // keeps them reachable
    auto *tool = clients.emplace_back(new tool_info{});
    tool->tool_id = 3;
    tool->inst_id = 1;
    tool->rx_handler = busbroker_rx_state_machine;
    tool->rx_complete = busbroker_parse_update_queues;
    tool->rx_stateinfo = &busbroker_rx_stateinfo;
    pthread_mutex_init(&tool->tx_mutex, nullptr);
    pthread_mutex_init(&tool->rx_mutex, nullptr);
    return tool;
}

tool_info *start_client(script answers, int32_t timer_type)
{
    sock_cfg cfg{0, 1, 1, "127.0.0.1", 0, {}};
    int32_t fd = -1;
    EXPECT_EQ(create_socket(&cfg, &fd, 0), 0u);
    socklen_t size = sizeof cfg.sock_addr;
    getsockname(fd, reinterpret_cast<sockaddr *>(&cfg.sock_addr), &size);
    std::thread([fd, answers = std::move(answers)] { serve(fd, answers); }).detach();
    tool_info *tool = new_client();
    std::string text = "127.0.0.1|" + std::to_string(ntohs(cfg.sock_addr.sin_port)) + "|ipv4|8|udp";
    EXPECT_EQ(parse_socket_cfg(nullptr, &tool->sock_cfg, 0, text.data()), 0u);
    timer_t timer{};
    EXPECT_EQ(init_timer(1, &timer, timer_type), 0u);
    EXPECT_EQ(create_sock_threads(nullptr, nullptr, tool, sock_tx_thread, sock_rx_thread, 1), 0u);
    return tool;
}

int frames_of(uint32_t transac_id)
{
    const std::lock_guard lock(count_mutex);
    return frame_counts[transac_id];
}

void wait_for(const std::function<bool()> &condition)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        ASSERT_LT(std::chrono::steady_clock::now(), end);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

} // namespace diagtest
