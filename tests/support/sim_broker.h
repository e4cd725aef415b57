/* SPDX-License-Identifier: MIT */
// A simulated bus broker of a test's own, on the board that BOARDSIM_DIR names; it ends with the record.
#ifndef TESTS_SUPPORT_SIM_BROKER_H
#define TESTS_SUPPORT_SIM_BROKER_H

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

namespace diagtest {

struct sim_broker {
    uint16_t port = 0; // on 127.0.0.1

    /// `options` as on the command line of boardsim broker; ready to answer when it returns.
    explicit sim_broker(const std::vector<std::string> &options = {});
    ~sim_broker();
    sim_broker(const sim_broker &) = delete;
    sim_broker &operator=(const sim_broker &) = delete;

    /// Ends the broker and waits for it: what it counted, by name. Its exit status is then in `status`.
    std::map<std::string, uint64_t> stop();
    int status = -1; // as waitpid() gives it

  private:
    int pid = -1;
    FILE *output = nullptr;
};

} // namespace diagtest

#endif
