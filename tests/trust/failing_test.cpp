/* SPDX-License-Identifier: MIT */
// Failing calls: each call of the C library that an operation makes fails in turn, once, for good, or by a
// signal, and so does each allocation. What is told and returned, that nothing is left, and that the
// operation then succeeds on the same state.
#include <deque>
#include <poll.h>
#include <regex>
#include <set>
#include <spawn.h>

#include "busbroker/loopback.h"
#include "support/sim_board.h"

namespace fs = std::filesystem;

// A call, and why it can fail (a FIFO that is not ready is no error yet). Its traits: "i", a signal can
// interrupt it; "r", it returns the error; "s", of signals; "m", of memory.
struct watched_call {
    const char *name;
    int reason;
    std::string_view traits = "";
};

// What becomes of the calls of a run.
struct {
    char watched = 0; // p: plain calls count; s: those and of signals; m: of memory alone
    int good;         // calls that succeed before the plan begins
    std::string plan; // of the calls from then on: f fails, i is interrupted if it can be
    int made;
    std::string first; // the first call that failed: "read#2" is the second read
    std::map<std::string, int> numbers;
} world;

// The reason for which this call fails; 0 when it does not.
int reason(const watched_call &call)
{
    const char of = call.traits.starts_with('m') || call.traits.starts_with('s') ? call.traits[0] : 'p';
    if (world.watched == 0 || (of != world.watched && (of != 'p' || world.watched == 'm'))) {
        return 0;
    }
    const std::string name = of == 'm' ? "memory" : call.name;
    const int number = ++world.numbers[name], at = world.made++ - world.good;
    if (at < 0 || at >= std::ssize(world.plan)) {
        return 0;
    }
    const bool fails = world.plan[static_cast<size_t>(at)] == 'f';
    const int error = fails ? call.reason : call.traits.starts_with('i') ? EINTR : 0;
    if (world.first.empty() && error != 0) {
        world.first = name + '#' + std::to_string(number);
    }
    return error;
}

template <typename R, typename... P> auto failing(R (*real)(P...), const watched_call &call)
{
    return [real, call](P... args) -> R {
        const int error = reason(call);
        if (error == 0) {
            return real(args...);
        }
        errno = error;
        if constexpr (std::is_pointer_v<R>) {
            return nullptr;
        } else {
            return static_cast<R>(call.traits.ends_with('r') ? error : -1);
        }
    };
}

// clang-format off
#define STAND_IN(result, name, ...) \
    extern "C" result __real_##name(__VA_ARGS__); extern "C" result __wrap_##name(__VA_ARGS__); \
    result __wrap_##name(__VA_ARGS__)
#define FAILING(name, ...) failing(__real_##name, {#name, __VA_ARGS__})
using actions = posix_spawn_file_actions_t;
using attributes = posix_spawnattr_t;
STAND_IN(void *, malloc, size_t a) { return FAILING(malloc, ENOMEM, "m")(a); }
STAND_IN(void *, calloc, size_t a, size_t b) { return FAILING(calloc, ENOMEM, "m")(a, b); }
STAND_IN(void *, realloc, void *a, size_t b) { return FAILING(realloc, ENOMEM, "m")(a, b); }
STAND_IN(int, mkfifo, const char *a, mode_t b) { return FAILING(mkfifo, ENOSPC)(a, b); }
STAND_IN(int, open64, const char *a, int b) { return FAILING(open64, EMFILE)(a, b); }
STAND_IN(int, fstat64, int a, struct stat64 *b) { return FAILING(fstat64, EIO)(a, b); }
STAND_IN(ssize_t, read, int a, void *b, size_t c) { return FAILING(read, EAGAIN, "i")(a, b, c); }
STAND_IN(int, poll, pollfd *a, nfds_t b, int c) { return FAILING(poll, ENOMEM, "i")(a, b, c); }
STAND_IN(int, pipe2, int *a, int b) { return FAILING(pipe2, EMFILE)(a, b); }
STAND_IN(pid_t, fork, void) { return FAILING(fork, EAGAIN)(); }
STAND_IN(pid_t, waitpid, pid_t a, int *b, int c) { return FAILING(waitpid, 0, "i")(a, b, c); }
STAND_IN(int, socket, int a, int b, int c) { return FAILING(socket, EMFILE)(a, b, c); }
STAND_IN(int, bind, int a, const sockaddr *b, socklen_t c) { return FAILING(bind, EADDRINUSE)(a, b, c); }
STAND_IN(int, connect, int a, const sockaddr *b, socklen_t c) { return FAILING(connect, ENETDOWN, "i")(a, b, c); }
STAND_IN(int, getsockopt, int a, int b, int c, void *d, socklen_t *e) { return FAILING(getsockopt, ENOBUFS)(a, b, c, d, e); }
STAND_IN(ssize_t, sendto, int a, const void *b, size_t c, int d, const sockaddr *e, socklen_t f) { return FAILING(sendto, ENOBUFS, "i")(a, b, c, d, e, f); }
STAND_IN(ssize_t, recvfrom, int a, void *b, size_t c, int d, sockaddr *e, socklen_t *f) { return FAILING(recvfrom, ENOMEM, "i")(a, b, c, d, e, f); }
STAND_IN(int, sigaction, int a, const struct sigaction *b, struct sigaction *c) { return FAILING(sigaction, EINVAL, "s")(a, b, c); }
STAND_IN(int, sigprocmask, int a, const sigset_t *b, sigset_t *c) { return FAILING(sigprocmask, EINVAL, "s")(a, b, c); }
STAND_IN(int, timer_create, clockid_t a, sigevent *b, timer_t *c) { return FAILING(timer_create, EAGAIN)(a, b, c); }
STAND_IN(int, timer_settime, timer_t a, int b, const itimerspec *c, itimerspec *d) { return FAILING(timer_settime, EINVAL)(a, b, c, d); }
STAND_IN(int, clock_nanosleep, clockid_t a, int b, const timespec *c, timespec *d) { return FAILING(clock_nanosleep, 0, "ir")(a, b, c, d); }
STAND_IN(int, pthread_create, pthread_t *a, const pthread_attr_t *b, void *(*c)(void *), void *d) { return FAILING(pthread_create, EAGAIN, "r")(a, b, c, d); }
STAND_IN(int, posix_spawnattr_init, attributes *a) { return FAILING(posix_spawnattr_init, ENOMEM, "r")(a); }
STAND_IN(int, posix_spawn_file_actions_init, actions *a) { return FAILING(posix_spawn_file_actions_init, ENOMEM, "r")(a); }
STAND_IN(int, posix_spawn_file_actions_adddup2, actions *a, int b, int c) { return FAILING(posix_spawn_file_actions_adddup2, ENOMEM, "r")(a, b, c); }
STAND_IN(int, posix_spawn_file_actions_addopen, actions *a, int b, const char *c, int d, mode_t e) { return FAILING(posix_spawn_file_actions_addopen, ENOMEM, "r")(a, b, c, d, e); }
STAND_IN(int, posix_spawn, pid_t *a, const char *b, const actions *c, const attributes *d, char *const *e, char *const *f) { return FAILING(posix_spawn, ENOMEM, "r")(a, b, c, d, e, f); }
STAND_IN(int, posix_spawnp, pid_t *a, const char *b, const actions *c, const attributes *d, char *const *e, char *const *f) { return FAILING(posix_spawnp, EAGAIN, "r")(a, b, c, d, e, f); }
// clang-format on

struct outcome {
    uint32_t status = 0;
    std::string told = ""; // the end of what is told at verbosity 3; of nothing told, any
};

struct operation {
    std::string name;
    std::function<uint32_t()> run;
    std::string told_if_good;
    std::vector<std::pair<std::string, outcome>> failures; // by what fails first; "x#1!": all behind it, too
    std::string fifo = {};                                 // what it makes; stays only when it was not opened
    char watched = 'p';
};

size_t descriptors()
{
    return static_cast<size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

/// Runs the operation with its calls failing from the n-th on as the plan says; how many calls it made.
int run_with(const operation &op, int n, const std::string &plan, std::set<std::string> *met)
{
    const size_t before = descriptors();
    uint32_t status = 0;
    world = {0, n, plan, 0, "", {}};
    const std::string told = console_of([&] {
        world.watched = op.watched;
        status = op.run();
        world.watched = 0;
    });
    SCOPED_TRACE(op.name + ", " + plan.substr(0, 3) + " from " + world.first);
    const std::string first = world.first + (plan.size() > 2 ? "!" : "");
    const auto found = std::ranges::find_if(op.failures, [&](const auto &failure) {
        return plan.starts_with('f') && std::regex_match(first, std::regex(failure.first));
    });
    const bool fails = found != op.failures.end();
    const outcome expected = fails ? found->second : outcome{0, op.told_if_good};
    met->insert(fails ? found->first : "");
    EXPECT_EQ(status, expected.status) << told;
    EXPECT_TRUE(op.watched == 'm' ? told == expected.told : told.ends_with(expected.told)) << told;
    EXPECT_EQ(descriptors(), before);
    EXPECT_EQ(wait4(-1, nullptr, WNOHANG, nullptr), -1) << "a child is left";
    const bool is_unopened = !plan.empty() && (world.first == "open64#1" || world.first == "fstat64#1");
    EXPECT_EQ(fs::exists(fs::symlink_status(op.fifo)), is_unopened && !op.fifo.empty());
    return world.made;
}

void sweep(const operation &op,
           const std::vector<std::string> &plans = {"i", "ii", "f", "fi", std::string(99, 'f')})
{
    std::set<std::string> met;
    set_verb_level(op.watched == 'm' ? 0 : 3);
    const int made = run_with(op, 0, "", &met);
    for (const std::string &plan : plans) {
        for (int n = 0; n < made; n++) {
            run_with(op, n, plan, &met);
            run_with(op, 0, "", &met);
        }
    }
    EXPECT_EQ(met.size(), op.failures.size() + 1) << op.name << " met fewer failures than are listed";
}

/// Each allocation fails in turn, once; `run` is told whether it runs again on the state of its last run.
void sweep_memory(const std::string &name, const std::vector<outcome> &failures,
                  const std::function<uint32_t(bool again)> &run)
{
    operation op = {name, [&] { return run(world.plan.empty()); }, "", {}, "", 'm'};
    for (const outcome &failure : failures) {
        op.failures.emplace_back("memory#" + std::to_string(op.failures.size() + 1), failure);
    }
    sweep(op, {"f"});
}

constexpr uint32_t minus_one = UINT32_MAX, invalid = DIAG_ERR_INVALID_ARG, unusable = DIAG_ERR_FAILED,
                   no_memory = DIAG_ERR_NO_MEMORY;

outcome error(uint32_t status, const std::string &function, const std::string &message)
{
    return {status, error_line(function, message)};
}

TEST(FailingCalls, OfAccesses)
{
    const sim_board board;
    const std::string path = board.root + "/answer", get = "i2ctool_get";
    std::array<uint8_t, 16> data{};
    sweep({get,
           [&] {
               data[0] = 0xee;
               const uint32_t status = i2ctool_get("3", 0x50, 0, &reg8_data8, 1, path.c_str(), data.data());
               const bool may_miss =
                   world.plan.size() > 2 && (world.first == "read#1" || world.first.starts_with("poll"));
               EXPECT_TRUE(data[0] == (status != 0 ? 0xee : 'B') || (may_miss && data[0] == 0xee));
               return status;
           },
           "1 bytes read from the fifo\n",
           {{"mkfifo#1!", error(unusable, get, "Error Creating I2C pipe " + path + "\n")},
            {"(open64|fstat64)#1!?",
             error(unusable, get, "Could Not open End of i2c Pipe (" + path + ") [/]\n")},
            {"posix_.*!", error(minus_one, get, "FAILED <<<---\nError Reading from I2C\n")},
            {"read#1!", {0, "-1 bytes read from the fifo\n"}}},
           path});
    sweep({"ipmitool2_get",
           [&] { return ipmitool2_get(6, 1, 0, nullptr, 15, data.data()); },
           "15 bytes read from the fifo\n",
           {{"pipe2#1!?|posix_.*!", error(minus_one, "ipmitool2_get", "sys cmd exec failed!\n")},
            {"read#1!?", {minus_one, "Error Reading 0 bytes from IPMII2C\n"}}}});
    sweep({"ipmitool_set",
           [] {
               return ipmitool_set("0-3", 0x50, 0, &reg8_data8, reinterpret_cast<const uint8_t *>("B"), 1, 0);
           },
           " > /dev/null\n",
           {{"posix_.*!",
             error(minus_one, "ipmitool_set",
                   "shell command(ipmitool raw 0x38 0x3 0x3 0x50 0x0 0x42 > /dev/null) failed\n")}}});
    sweep({"epoll_generic_set",
           [] {
               const uint32_t status = epoll_generic_set("/bin/true", nullptr, nullptr);
               EXPECT_EQ(wait4(-1, nullptr, 0, nullptr) > 0, status == 0);
               return status;
           },
           "",
           {{"fork#1!?", error(unusable, "epoll_generic_set", "Couldn't fork\n")}}});
}

TEST(FailingCalls, OfSocketsAndThreads)
{
    tool_info *tool = new_client(), *other = new_client();
    const std::string threads = "create_sock_threads",
                      closing =
                          error_line(threads, "Socket creation failed for the tool id = 3 & inst id = 1\n");
    const outcome no_thread = {
        invalid, error_line("create_thread", "Thread creation failed with code = 11\n") +
                     error_line(threads, "Can't create tx thread for tool id = 3 with inst_id = 1\n")};
    for (const int connects : {0, 1}) {
        const outcome unopened = {invalid, (connects != 0 ? "Socket connect fail with err code [100]\n"
                                                          : "Socket bind failure with err code  [98]\n") +
                                               closing};
        sweep(
            {threads,
             [other, connects] {
                 const auto start = [](void *arg) { return arg; };
                 other->tx_thread = other->rx_thread = 0;
                 other->sock_cfg.port = connects != 0 ? 9 : 0;
                 const uint32_t status = create_sock_threads(nullptr, nullptr, other, start, start, connects);
                 for (const pthread_t thread : {other->tx_thread, other->rx_thread}) {
                     EXPECT_TRUE(thread == 0 || pthread_join(thread, nullptr) == 0);
                 }
                 EXPECT_EQ(close(other->sock_fd) == 0, world.first != "socket#1" && world.first != "bind#1");
                 return status;
             },
             " created successfully\n",
             {{"socket#1!?", {invalid, error_line("create_socket", "Socket creation error \n") + closing}},
              {connects != 0 ? "connect#1!?" : "bind#1!?", unopened},
              {"pthread_create.*", no_thread}}});
    }

    tool->is_transmitting = 1; // the caller itself sends
    const std::string queued = "Request queueing succesful\n";
    sweep({"request_busbroker",
           [tool] {
               busbroker_req_resp req{};
               req.flags = BB_REQ_NO_WAIT;
               const uint32_t status = request_busbroker(&req, tool, "cpu0", "fpga", 0, 0, 5);
               EXPECT_EQ(tool->tx_queue->send_count,
                         world.first == "sendto#1" && world.plan[0] == 'f' ? 2 : 1);
               forget_requests(tool);
               free_req_texts(&req);
               return status;
           },
           queued,
           {{"sendto#1!?",
             {0, error_line("sock_tx_thread", "Error while trying to send data with errcode 105\n") +
                     queued}}}});
    sweep({"receive_from_socket",
           [tool] {
               __real_sendto(tool->sock_fd, "x", 1, 0,
                             reinterpret_cast<const sockaddr *>(&tool->sock_cfg.sock_addr),
                             sizeof(sockaddr_in));
               return receive_from_socket(tool);
           },
           "",
           {{"recvfrom#1!?", error(invalid, "receive_from_socket",
                                   "Error while rx data from socket , failed with err code 12\n")}}});
}

TEST(FailingCalls, OfTimers)
{
    const std::string init = "init_timer";
    const outcome no_timer = error(invalid, init, "Failed to create timer \n");
    const std::vector<std::pair<std::string, outcome>> failures[] = {
        {{"timer_create#1!?", no_timer},
         {"timer_settime#1!?", error(0, "waitfor_timeout", "Failed to set time to timer with id\n")}},
        {{"sigaction#1!?", error(invalid, init, "Failed to allocate handler for timer\n")},
         {"sigprocmask#1!?", error(invalid, init, "Failed to mask the signal\n")},
         {"timer_create#1!?", no_timer},
         {"timer_settime#1!?", {invalid, ""}},
         {"sigprocmask#2!?", error(invalid, init, "Can't un mask the timer signal\n")}}};
    for (const uint32_t mode : {0u, 1u}) {
        const auto run = [mode] {
            int marker = 0;
            timer_t timer = &marker;
            sigset_t before = {}, after = {};
            __real_sigprocmask(SIG_SETMASK, nullptr, &before);
            const uint32_t status = init_timer(mode, &timer, 2);
            __real_sigprocmask(SIG_SETMASK, &before, &after);
            if (status != 0) {
                EXPECT_TRUE(world.plan.size() > 2 || memcmp(&before, &after, sizeof before) == 0);
                EXPECT_EQ(timer, nullptr);
                return status;
            }
            if (mode == 0) {
                waitfor_timeout(timer, 0.01);
            }
            timer_delete(timer);
            EXPECT_EQ(text_of("/proc/self/timers"), "");
            return status;
        };
        sweep({init, run, mode == 0 ? "" : "Timer created succesfully\n", failures[mode], "", 's'});
    }
}

busbroker_req_resp read_request(uint8_t support_count)
{
    static constexpr uint8_t support[] = {1};
    busbroker_req_resp req{};
    req.transac_id = 7;
    req.flags = BB_REQ_NO_WAIT;
    req.support_bytes = support;
    req.support_count = support_count;
    return req;
}

const outcome no_data = error(no_memory, "update_request", "Couldn't allocate memory \n"),
              no_support = error(no_memory, "update_request", "Couldn't allocate memory\n"),
              no_frame = error(no_memory, "request_busbroker", "Memory allocation error\n"),
              no_room = {no_memory, error_line("queue_tx_buf", "Couldn't allocate tx queue memory\n") +
                                        error_line("request_busbroker", "Can't queue the request \n")};

TEST(FailingMemory, Requests)
{
    tool_info *tool = new_client();
    tool->tx_thread = pthread_self(); // as if the program's own sent
    busbroker_req_resp req = read_request(1);
    sweep_memory("request_busbroker", {no_data, no_support, no_frame, no_room}, [&](bool) {
        const uint32_t id = req.transac_id;
        const uint32_t status = request_busbroker(&req, tool, "cpu0", "fpga", 0, BB_REQ_READ, 5);
        EXPECT_EQ(req.transac_id, status == 0 ? id + 1 : id);
        EXPECT_EQ(tool->tx_queue != nullptr, status == 0);
        forget_requests(tool);
        free_req_texts(&req);
        return status;
    });
}

TEST(FailingMemory, Responses)
{
    const std::string frame = response_frame({7, 0, ""}, "Success");
    std::vector<outcome> drops;
    for (const std::string step : {"header_proc", "header_proc", "dev_id_len_proc", "dev_id_proc",
                                   "dev_name_len_proc", "dev_name_proc", "", "", "support_data_copy"}) {
        drops.push_back(step.empty() ? outcome{no_memory, ""}
                                     : error(no_memory, "busbroker_req_resp_" + step, "Mem alloc fail\n"));
    }
    static bool delivered;
    tool_info *tool = new_client();
    tool->rx_complete = [](tool_info *, void *, busbroker_req_resp *) {
        delivered = true;
        return 0u;
    };
    sweep_memory("receiving", drops, [&](bool) {
        delivered = false;
        memcpy(tool->rx_buf, frame.data(), frame.size());
        tool->rx_len = static_cast<uint32_t>(frame.size());
        EXPECT_EQ(busbroker_rx_state_machine(tool, nullptr), 0u);
        EXPECT_TRUE(tool->rx_state == 0 && tool->rx_record == nullptr && tool->field_buf == nullptr);
        return delivered ? 0 : no_memory;
    });

    const outcome no_bytes = error(no_memory, "busbroker_parse_update_queues", "Mem alloc error\n"),
                  no_node = error(no_memory, "enqueue_rx_queues", "Mem alloc error \n");
    const std::tuple<uint32_t, std::string, std::vector<outcome>> answers[] = {
        {0, "Success", {no_node}},
        {BB_REQ_READ, "a,b,c,d,Success,1,5a", {no_bytes, no_bytes, no_node}},
        {BB_REQ_WRITE, "a,b,c,Success,", {no_bytes, no_node}},
        {BB_REQ_OTF_DEV_ID, "Success,id", {no_bytes, {invalid, no_bytes.told}, no_node}},
    };
    EXPECT_EQ(queue_tx_buf(tool, strdup("frame"), 5, 0, 0, 7), 0u);
    for (auto [type, text, expected] : answers) {
        busbroker_req_resp response{};
        response.transac_id = 7;
        response.req_type = type;
        response.data = text.data();
        sweep_memory(text, expected, [&](bool) {
            deque_tool_response(tool, 7);
            const uint32_t status = busbroker_parse_update_queues(tool, nullptr, &response);
            EXPECT_EQ(tool->rx_queue != nullptr, status == 0);
            return status;
        });
    }
    deque_tool_response(tool, 7);
    forget_requests(tool);
}

struct platform {
    pf_tree tree;
    proc_info proc;
};

/// A platform that stays to the end of the process: the leak check then finds what no tree holds.
platform &kept(bool last)
{
    static auto &all = *new std::deque<platform>(1);
    return last ? all.back() : all.emplace_back();
}

TEST(FailingMemory, TreesAndDynamicIdentifiers)
{
    const std::string walk = "update_dev_mux_interface_tree",
                      no_item = error_line("check_add_mux_entry", "Couldn't allocate memory\n");
    const outcome no_entry = error(no_memory, "update_pf_tree", "Couldn't allocate memory\n");
    static pf_dev alone = {"E", "i2c-0", nullptr, nullptr}, mux = {"M1", "i2c-0", "PCA9541", &alone},
                  behind = {"M1-1.D", "i2c-0", nullptr, &mux};
    sweep_memory(
        "a tree",
        {{0, no_item + error_line(walk, "Invalid tree\n")}, // the status of the last identifier counts
         error(0, walk, "Couldn't allocate space for node \n"),
         {0, no_item},
         error(no_memory, "add_mux_entry_to_proc_info", "Couldn't allocate memory for new mux node\n"),
         no_entry},
        [](bool again) {
            platform &p = kept(again);
            const uint32_t status = update_pf_tree(&behind, &p.tree, true, &p.proc);
            if (again) {
                const mux_tree *node = p.tree.i2c[0].muxes;
                EXPECT_TRUE(node->dev == &mux && node->next == nullptr && node->channels->next == nullptr);
                EXPECT_TRUE(node->channels->tree.devs->dev == &behind && p.tree.i2c[0].devs->dev == &alone);
            }
            return status;
        });
    static std::array<pf_dev, 64> many; // so many that they are indexed, without which all goes well, too
    for (size_t i = 0; i < many.size(); i++) {
        many[i] = {"E", "i2c-0", nullptr, i + 1 < many.size() ? &many[i + 1] : nullptr};
    }
    std::vector<outcome> indexed(1 + many.size(), no_entry);
    indexed[0] = {};
    sweep_memory("an indexed tree", indexed,
                 [](bool again) { return update_pf_tree(many.data(), &kept(again).tree, false, nullptr); });

    static dyn_dev_id *list = nullptr;
    sweep_memory(
        "update_dyn_dev_id_list",
        {error(unusable, "update_dyn_dev_id_list", "Couldn't allocate memory for new dynamic ID node\n")},
        [](bool) { return update_dyn_dev_id_list(&list, "id", 5) != nullptr ? 0 : DIAG_ERR_FAILED; });
}

TEST(FailingMemory, MemoryWritesFileNamesAndTimeoutCalls)
{
    const sim_board board;
    const std::string path = board.root + "/answer", base = board.root + "/config";
    const uint8_t byte = 5;
    uint8_t data[2] = {};
    sweep_memory("memtool_set",
                 {error(minus_one, "memtool_set", "Could not allocate space for params of memtool\n")},
                 [&](bool) { return memtool_set(0x80000000, 8, &byte, 1, 0); });
    // As all accesses but the one above:
    sweep_memory("i2ctool_get", {},
                 [&](bool) { return i2ctool_get("3", 0x50, 0, &reg8_data8, 2, path.c_str(), data); });
    sweep_memory("ipmitool2_get", {}, [&](bool) { return ipmitool2_get(6, 1, 0, nullptr, 2, data); });
    std::ofstream(base + ".cfg") << "x";
    sweep_memory("build_config_filename",
                 {error(1, "build_config_filename", "Could not allocate space for the config file name\n")},
                 [&](bool) {
                     char *name = build_config_filename(base.c_str());
                     const bool is_right = name != nullptr && name == base + ".cfg";
                     free(name);
                     return is_right ? 0u : 1u;
                 });
    sweep_memory("register_timeout_calls",
                 {error(1, "register_timeout_calls", "mem allocation for timeout calls failed \n")},
                 [](bool) { return register_timeout_calls(1, nullptr, nullptr) ? 0u : 1u; });
}
