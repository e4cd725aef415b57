/* SPDX-License-Identifier: MIT */
// A simulated bus broker of a test's own, on the board that BOARDSIM_DIR names; it ends with the record.
#ifndef TESTS_SUPPORT_SIM_BROKER_H
#define TESTS_SUPPORT_SIM_BROKER_H

#include "support/capture.h"

namespace diagtest {

struct sim_broker {
    uint16_t port;   // on 127.0.0.1
    int status = -1; // once it has ended: its exit status as waitpid() gives it

    /// `options` as on the command line of boardsim broker; ready to answer when it returns.
    explicit sim_broker(const std::vector<std::string> &options = {})
    {
        std::string command = "echo $$; exec '" BOARDSIM_BIN "/boardsim' broker";
        for (const std::string &option : options) {
            command += " " + option;
        }
        output = popen(command.c_str(), "re");
        pid = std::stoi(next_line());
        port = static_cast<uint16_t>(std::stoul(next_line().substr(sizeof "port")));
    }
    ~sim_broker()
    {
        stop();
    }
    sim_broker(const sim_broker &) = delete;
    sim_broker &operator=(const sim_broker &) = delete;

    /// Ends the broker and waits for it: what it counted, by name.
    std::map<std::string, uint64_t> stop()
    {
        std::map<std::string, uint64_t> counts;
        if (output != nullptr) {
            kill(pid, SIGTERM);
            for (std::string line = next_line(); !line.empty(); line = next_line()) {
                const size_t blank = line.rfind(' ');
                counts[line.substr(0, blank)] = std::stoull(line.substr(blank + 1));
            }
            status = pclose(std::exchange(output, nullptr));
        }
        return counts;
    }

  private:
    int pid;
    FILE *output;

    /// Without its end, whatever signals interrupt the reading; empty when the broker has ended.
    std::string next_line()
    {
        std::string line;
        for (int c; (c = getc(output)) != '\n' && (c != EOF || (ferror(output) != 0 && errno == EINTR));) {
            clearerr(output);
            line += c != EOF ? std::string(1, static_cast<char>(c)) : "";
        }
        return line;
    }
};

} // namespace diagtest

#endif
