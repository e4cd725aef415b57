/* SPDX-License-Identifier: MIT */
#include "support/sim_broker.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <poll.h>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace diagtest {

namespace {

constexpr int patience_ms = 20000; // against hangs only

/// The next line of a pipe, without its end; what there is when the pipe ends or time is up.
std::string next_line(int fd)
{
    std::string line;
    pollfd ready = {fd, POLLIN, 0};
    char c = 0;
    while (TEMP_FAILURE_RETRY(poll(&ready, 1, patience_ms)) == 1 &&
           TEMP_FAILURE_RETRY(read(fd, &c, 1)) == 1 && c != '\n') {
        line += c;
    }
    return line;
}

} // namespace

sim_broker::sim_broker(const std::vector<std::string> &options)
{
    std::vector<std::string> words = {BOARDSIM_BIN "/boardsim", "broker"};
    words.insert(words.end(), options.begin(), options.end());
    std::vector<char *> argv;
    for (std::string &word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    int ends[2];
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (pipe(ends) != 0 || posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO) != 0 ||
        posix_spawn_file_actions_addclose(&actions, ends[0]) != 0 ||
        posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) {
        perror("starting a simulated broker");
        abort();
    }
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    output = ends[0];
    const std::string line = next_line(output);
    if (line.starts_with("port ")) {
        port = static_cast<uint16_t>(std::stoul(line.substr(5)));
    }
}

sim_broker::~sim_broker()
{
    stop();
    close(output);
}

std::map<std::string, uint64_t> sim_broker::stop(bool by_itself)
{
    if (pid > 0 && !by_itself) {
        kill(pid, SIGTERM);
    }
    std::map<std::string, uint64_t> counts;
    for (std::string line = next_line(output); !line.empty(); line = next_line(output)) {
        const size_t blank = line.rfind(' ');
        counts[line.substr(0, blank)] = std::stoull(line.substr(blank + 1));
    }
    if (pid > 0) {
        TEMP_FAILURE_RETRY(waitpid(pid, &status, 0));
        pid = -1;
    }
    return counts;
}

} // namespace diagtest
