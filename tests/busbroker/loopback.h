/* SPDX-License-Identifier: MIT */
// A client with its threads on the loopback interface, and a scripted broker that answers it. Both live, as
// in a program, until the process ends.
#ifndef TESTS_BUSBROKER_LOOPBACK_H
#define TESTS_BUSBROKER_LOOPBACK_H

#include <functional>
#include <string>
#include <vector>

#include <boarddiag/busbroker.h>

namespace diagtest {

inline constexpr int32_t every_ms = 0;
inline constexpr int32_t every_100_ms = 1;

/// What a request frame of the test client (device id cpu0, name fpga) holds.
struct request_view {
    uint32_t transac_id;
    uint32_t type;
    std::string data;
};

/// The data texts of the answers to a request, the `nth` of its transaction, from 1.
using script = std::function<std::vector<std::string>(const request_view &request, int nth)>;

/// A client with initialised mutexes and no threads.
tool_info *new_client();

/// Starts a broker, a client connected to it, and the periodic timer.
tool_info *start_client(script answers, int32_t timer_type);

/// How many frames of a transaction reached the broker.
int frames_of(uint32_t transac_id);

/// Waits until `condition` holds; fails the test after some seconds.
void wait_for(const std::function<bool()> &condition);

} // namespace diagtest

#endif
