/* SPDX-License-Identifier: MIT */
// A bus broker client that sends what a test frames and takes what comes.
#ifndef TESTS_SIM_BUS_CLIENT_H
#define TESTS_SIM_BUS_CLIENT_H

#include <unistd.h>

#include "support/framed.h"

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

inline std::string bus_frame(const bus_request &r, bool is_response = false)
{
    std::string data = r.data, support = r.support;
    busbroker_req_resp record = {};
    record.tool_id = r.tool_id;
    record.inst_id = 1;
    record.transac_id = r.transac_id;
    record.dev_id = r.dev_id.c_str();
    record.dev_name = r.dev_name.c_str();
    record.req_prio = r.priority;
    record.req_type = r.type;
    record.transac_ind = r.indication;
    record.data = data.data();
    record.support_data = support.data();
    return framed(record, is_response);
}

/// The response frame that answers `r` with a data text.
inline std::string bus_response(bus_request r, const std::string &data)
{
    r.data = data;
    r.support.clear();
    return bus_frame(r, true);
}

struct bus_client {
    mutable tool_info tool = {};

    explicit bus_client(uint16_t port)
    {
        tool.sock_cfg = {0, 1, 1, "127.0.0.1", port, {}};
        create_socket(&tool.sock_cfg, &tool.sock_fd, 1);
    }
    ~bus_client()
    {
        close(tool.sock_fd);
    }
    bus_client(const bus_client &) = delete;
    bus_client &operator=(const bus_client &) = delete;

    void send_bytes(const std::string &bytes) const
    {
        send(tool.sock_fd, bytes.data(), bytes.size(), 0);
    }
    /// The next datagram.
    [[nodiscard]] std::string receive() const
    {
        receive_from_socket(&tool);
        return {reinterpret_cast<const char *>(tool.rx_buf), tool.rx_len};
    }
    [[nodiscard]] std::string ask(const bus_request &r) const
    {
        send_bytes(bus_frame(r));
        return receive();
    }
};

} // namespace diagtest

#endif
