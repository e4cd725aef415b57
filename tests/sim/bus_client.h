/* SPDX-License-Identifier: MIT */
// A bus broker client for the simulator's own tests, with its own hand at the wire format.
#ifndef TESTS_SIM_BUS_CLIENT_H
#define TESTS_SIM_BUS_CLIENT_H

#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#include <zlib.h>

namespace diagtest {

struct bus_request {
    uint32_t transac_id = 0;
    std::string dev_id = {};
    std::string dev_name = {};
    uint32_t type = 0;
    uint8_t indication = 5;
    std::string data = {};
    std::string support = {};
    uint8_t tool_id = 3;
    uint32_t priority = 0;
};

inline std::string little_endian(uint64_t value, unsigned bytes)
{
    std::string out;
    for (; bytes != 0; bytes--, value >>= 8) {
        out += static_cast<char>(value & 0xff);
    }
    return out;
}

/// A frame of instance 1 between two marks.
inline std::string bus_frame(const bus_request &r, const char *start = "RQS", const char *end = "RQE")
{
    const std::string covered =
        little_endian(r.tool_id, 1) + little_endian(1, 4) + little_endian(r.transac_id, 4) +
        little_endian(r.dev_id.size(), 1) + r.dev_id + little_endian(r.dev_name.size(), 1) + r.dev_name +
        little_endian(r.priority, 4) + little_endian(r.type, 4) + little_endian(r.indication, 1) +
        little_endian(r.data.size(), 2) + little_endian(r.support.size(), 1) + r.data + r.support;
    const uLong crc =
        crc32(0, reinterpret_cast<const Bytef *>(covered.data()), static_cast<uInt>(covered.size()));
    std::string frame(covered.size() + 100, '\0');
    const int size = snprintf(frame.data(), frame.size(),
                              "%s%02x00000001%08x%02zx%s%02zx%s%08x%08x%02x%04zx%02zx%s%s%08lx%s", start,
                              r.tool_id, r.transac_id, r.dev_id.size(), r.dev_id.c_str(), r.dev_name.size(),
                              r.dev_name.c_str(), r.priority, r.type, r.indication, r.data.size(),
                              r.support.size(), r.data.c_str(), r.support.c_str(), crc, end);
    return frame.substr(0, static_cast<size_t>(size));
}

/// The response frame that answers `r` with a data text.
inline std::string bus_response(bus_request r, const std::string &data)
{
    r.data = data;
    r.support.clear();
    return bus_frame(r, "RPS", "RPE");
}

struct bus_client {
    int fd;

    explicit bus_client(uint16_t port) : fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in to = {};
        to.sin_family = AF_INET;
        to.sin_port = htons(port);
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        connect(fd, reinterpret_cast<const sockaddr *>(&to), sizeof to);
    }
    ~bus_client()
    {
        close(fd);
    }
    bus_client(const bus_client &) = delete;
    bus_client &operator=(const bus_client &) = delete;

    void send_bytes(const std::string &bytes) const
    {
        send(fd, bytes.data(), bytes.size(), 0);
    }
    /// The next datagram; "(nothing)" when none comes in time.
    [[nodiscard]] std::string receive(int patience_ms = 10000) const
    {
        char buffer[8192];
        pollfd ready = {fd, POLLIN, 0};
        const ssize_t size = poll(&ready, 1, patience_ms) == 1 ? recv(fd, buffer, sizeof buffer, 0) : -1;
        return size < 0 ? "(nothing)" : std::string(buffer, static_cast<size_t>(size));
    }
    [[nodiscard]] std::string ask(const bus_request &r) const
    {
        send_bytes(bus_frame(r));
        return receive();
    }
};

} // namespace diagtest

#endif
