/* SPDX-License-Identifier: MIT */
// A bus broker client that sends what a test frames and takes what comes.
#ifndef TESTS_SIM_BUS_CLIENT_H
#define TESTS_SIM_BUS_CLIENT_H

#include <string>
#include <unistd.h>

#include <boarddiag.h>

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

/// A frame of instance 1; the letter that tells its marks from those of a response is a Q.
inline std::string bus_frame(const bus_request &r)
{
    std::string data = r.data, support = r.support, frame(400, '\0');
    busbroker_req_resp record = {};
    record.tool_id = r.tool_id;
    record.inst_id = 1;
    record.transac_id = r.transac_id;
    record.dev_id = r.dev_id.c_str();
    record.dev_id_len = static_cast<uint8_t>(r.dev_id.size());
    record.dev_name = r.dev_name.c_str();
    record.dev_name_len = static_cast<uint8_t>(r.dev_name.size());
    record.req_prio = r.priority;
    record.req_type = r.type;
    record.transac_ind = r.indication;
    record.data = data.data();
    record.data_len = static_cast<uint16_t>(data.size());
    record.support_data = support.data();
    record.support_data_len = static_cast<uint8_t>(support.size());
    record.crc = calculate_crc(&record);
    frame.resize(calculate_req_len_in_ascii(&record));
    frame_ascii_request(&record, frame.data(), static_cast<int32_t>(frame.size()) + 1);
    return frame;
}

/// The response frame that answers `r` with a data text.
inline std::string bus_response(bus_request r, const std::string &data)
{
    r.data = data;
    r.support.clear();
    std::string frame = bus_frame(r);
    frame[1] = frame[frame.size() - 2] = 'P';
    return frame;
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
