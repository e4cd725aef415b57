/* SPDX-License-Identifier: MIT */
#include "support/sim_broker.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace diagtest {

namespace {

/// The next line, without its end, whatever signals interrupt the reading; empty when the broker has ended.
std::string next_line(FILE *output)
{
    std::string line;
    for (int c; (c = getc(output)) != '\n' && (c != EOF || (ferror(output) != 0 && errno == EINTR));) {
        clearerr(output);
        line += c != EOF ? std::string(1, static_cast<char>(c)) : "";
    }
    return line;
}

} // namespace

sim_broker::sim_broker(const std::vector<std::string> &options)
{
    std::string command = "echo $$; exec " BOARDSIM_BIN "/boardsim broker";
    for (const std::string &option : options) {
        command += " " + option;
    }
    output = popen(command.c_str(), "re");
    if (output == nullptr) {
        perror("starting a simulated broker");
        abort();
    }
    pid = std::stoi(next_line(output));
    const std::string line = next_line(output);
    if (line.starts_with("port ")) {
        port = static_cast<uint16_t>(std::stoul(line.substr(5)));
    }
}

sim_broker::~sim_broker()
{
    stop();
}

std::map<std::string, uint64_t> sim_broker::stop()
{
    std::map<std::string, uint64_t> counts;
    if (output == nullptr) {
        return counts;
    }
    kill(pid, SIGTERM);
    for (std::string line = next_line(output); !line.empty(); line = next_line(output)) {
        const size_t blank = line.rfind(' ');
        counts[line.substr(0, blank)] = std::stoull(line.substr(blank + 1));
    }
    status = pclose(output);
    output = nullptr;
    return counts;
}

} // namespace diagtest
