/* SPDX-License-Identifier: MIT */
// Failing system calls: each one that an operation makes fails in turn, once, for good, or by a signal. What
// is told and returned, that nothing is left, and that the operation then succeeds.
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "busbroker/loopback.h"
#include "support/sim_board.h"

namespace fs = std::filesystem;
using namespace std::string_literals;
using diagtest::error_line;

namespace {

// Why a call can fail (a FIFO that is not ready is no error yet), and whether a signal can interrupt it.
struct watched_call {
    const char *name;
    int reason;
    bool interruptible = false;
};

// What becomes of the calls of a run.
struct {
    bool armed = false;
    bool watches_signals = false; // whether those that set up signals count
    int good;                     // calls that succeed before the plan begins
    std::string plan;             // of the calls from then on: f fails, i is interrupted if it can be
    int made;
    std::string first; // the first call that failed: "read2" is the second read
    std::map<std::string, int> numbers;
} world;

// The reason for which this call fails; 0 when it does not.
int reason(const watched_call &call)
{
    if (!world.armed || (strncmp(call.name, "sig", 3) == 0 && !world.watches_signals)) {
        return 0;
    }
    const int number = ++world.numbers[call.name], at = world.made++ - world.good;
    if (at < 0 || static_cast<size_t>(at) >= world.plan.size()) {
        return 0;
    }
    const bool fails = world.plan[static_cast<size_t>(at)] == 'f';
    const int error = fails ? call.reason : call.interruptible ? EINTR : 0;
    if (world.first.empty() && error != 0) {
        world.first = call.name + std::to_string(number);
    }
    return error;
}

template <auto real, typename... P> auto call(const watched_call &watched, P... args)
{
    const int error = reason(watched);
    if (error != 0) {
        errno = error;
        return static_cast<decltype(real(args...))>(-1);
    }
    return real(args...);
}

// Of the calls that return the number of the error.
template <auto real, typename... P> int call_told(const watched_call &watched, P... args)
{
    const int error = reason(watched);
    return error != 0 ? error : real(args...);
}

} // namespace

// clang-format off
#define STAND_IN(result, name, ...) \
    extern "C" result __real_##name(__VA_ARGS__); extern "C" result __wrap_##name(__VA_ARGS__); \
    result __wrap_##name(__VA_ARGS__)
using actions = posix_spawn_file_actions_t;
using attributes = posix_spawnattr_t;
STAND_IN(int, mkfifo, const char *a, mode_t b) { return call<__real_mkfifo>({"mkfifo", ENOSPC}, a, b); }
STAND_IN(int, open64, const char *a, int b) { return call<__real_open64>({"open", EMFILE}, a, b); }
STAND_IN(int, fstat64, int a, struct stat64 *b) { return call<__real_fstat64>({"fstat", EIO}, a, b); }
STAND_IN(ssize_t, read, int a, void *b, size_t c) { return call<__real_read>({"read", EAGAIN, true}, a, b, c); }
STAND_IN(int, poll, pollfd *a, nfds_t b, int c) { return call<__real_poll>({"poll", ENOMEM, true}, a, b, c); }
STAND_IN(int, pipe2, int *a, int b) { return call<__real_pipe2>({"pipe2", EMFILE}, a, b); }
STAND_IN(pid_t, fork, void) { return call<__real_fork>({"fork", EAGAIN}); }
STAND_IN(pid_t, waitpid, pid_t a, int *b, int c) { return call<__real_waitpid>({"waitpid", 0, true}, a, b, c); }
STAND_IN(int, socket, int a, int b, int c) { return call<__real_socket>({"socket", EMFILE}, a, b, c); }
STAND_IN(int, bind, int a, const sockaddr *b, socklen_t c) { return call<__real_bind>({"bind", EADDRINUSE}, a, b, c); }
STAND_IN(int, connect, int a, const sockaddr *b, socklen_t c) { return call<__real_connect>({"connect", ENETDOWN, true}, a, b, c); }
STAND_IN(int, getsockopt, int a, int b, int c, void *d, socklen_t *e) { return call<__real_getsockopt>({"getsockopt", ENOBUFS}, a, b, c, d, e); }
STAND_IN(ssize_t, sendto, int a, const void *b, size_t c, int d, const sockaddr *e, socklen_t f) { return call<__real_sendto>({"sendto", ENOBUFS, true}, a, b, c, d, e, f); }
STAND_IN(ssize_t, recvfrom, int a, void *b, size_t c, int d, sockaddr *e, socklen_t *f) { return call<__real_recvfrom>({"recvfrom", ENOMEM, true}, a, b, c, d, e, f); }
STAND_IN(int, sigaction, int a, const struct sigaction *b, struct sigaction *c) { return call<__real_sigaction>({"sigaction", EINVAL}, a, b, c); }
STAND_IN(int, sigprocmask, int a, const sigset_t *b, sigset_t *c) { return call<__real_sigprocmask>({"sigprocmask", EINVAL}, a, b, c); }
STAND_IN(int, timer_create, clockid_t a, sigevent *b, timer_t *c) { return call<__real_timer_create>({"timer_create", EAGAIN}, a, b, c); }
STAND_IN(int, timer_settime, timer_t a, int b, const itimerspec *c, itimerspec *d) { return call<__real_timer_settime>({"timer_settime", EINVAL}, a, b, c, d); }
STAND_IN(int, clock_nanosleep, clockid_t a, int b, const timespec *c, timespec *d) { return call_told<__real_clock_nanosleep>({"clock_nanosleep", 0, true}, a, b, c, d); }
STAND_IN(int, pthread_create, pthread_t *a, const pthread_attr_t *b, void *(*c)(void *), void *d) { return call_told<__real_pthread_create>({"pthread_create", EAGAIN}, a, b, c, d); }
STAND_IN(int, posix_spawnattr_init, attributes *a) { return call_told<__real_posix_spawnattr_init>({"posix_spawnattr", ENOMEM}, a); }
STAND_IN(int, posix_spawn_file_actions_init, actions *a) { return call_told<__real_posix_spawn_file_actions_init>({"file_actions", ENOMEM}, a); }
STAND_IN(int, posix_spawn_file_actions_adddup2, actions *a, int b, int c) { return call_told<__real_posix_spawn_file_actions_adddup2>({"adddup2", ENOMEM}, a, b, c); }
STAND_IN(int, posix_spawn_file_actions_addopen, actions *a, int b, const char *c, int d, mode_t e) { return call_told<__real_posix_spawn_file_actions_addopen>({"addopen", ENOMEM}, a, b, c, d, e); }
STAND_IN(int, posix_spawn, pid_t *a, const char *b, const actions *c, const attributes *d, char *const *e, char *const *f) { return call_told<__real_posix_spawn>({"posix_spawn", ENOMEM}, a, b, c, d, e, f); }
STAND_IN(int, posix_spawnp, pid_t *a, const char *b, const actions *c, const attributes *d, char *const *e, char *const *f) { return call_told<__real_posix_spawnp>({"posix_spawnp", EAGAIN}, a, b, c, d, e, f); }
// clang-format on

namespace {

struct outcome {
    uint32_t status;
    std::string told; // the end of what is told at verbosity 3; of nothing told, any
};

struct operation {
    std::string name;
    std::function<uint32_t()> run;
    std::string told_if_good;
    std::map<std::string, outcome> failures; // by what fails first; "x1!": and those behind fail, too
    std::string fifo = {};                   // what it makes; stays only when it could not be opened
};

size_t descriptors()
{
    return static_cast<size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

outcome expected_of(const operation &op)
{
    auto found = op.failures.find(world.first + (world.plan.size() > 2 ? "!" : ""));
    found = found == op.failures.end() ? op.failures.find(world.first) : found;
    return found == op.failures.end() || world.plan[0] == 'i' ? outcome{0, op.told_if_good} : found->second;
}

/// Runs the operation with its calls failing from the n-th on as the plan says; how many calls it made.
int run_with(const operation &op, int n, const std::string &plan)
{
    const size_t before = descriptors();
    uint32_t status = 0;
    world.good = n;
    world.plan = plan;
    world.made = 0;
    world.first = "";
    world.numbers.clear();
    const std::string told = diagtest::console_of([&] {
        world.armed = true;
        status = op.run();
        world.armed = false;
    });
    SCOPED_TRACE(op.name + ", " + plan.substr(0, 3) + " from " + world.first);
    const outcome expected = expected_of(op);
    EXPECT_EQ(status, expected.status) << told;
    EXPECT_TRUE(told.ends_with(expected.told)) << told;
    EXPECT_EQ(descriptors(), before);
    EXPECT_EQ(wait4(-1, nullptr, WNOHANG, nullptr), -1) << "a child is left";
    const bool is_unopened = !plan.empty() && (world.first == "open1" || world.first == "fstat1");
    EXPECT_EQ(fs::exists(fs::symlink_status(op.fifo)), is_unopened && !op.fifo.empty());
    return world.made;
}

void sweep(const operation &op)
{
    set_verb_level(3);
    const int made = run_with(op, 0, "");
    EXPECT_TRUE(made > 0 && made < 50) << made;
    for (const std::string &plan : {"i"s, "ii"s, "f"s, "fi"s, std::string(99, 'f')}) {
        for (int n = 0; n < made; n++) {
            run_with(op, n, plan);
            run_with(op, 0, "");
        }
    }
}

constexpr uint32_t minus_one = UINT32_MAX, invalid = DIAG_ERR_INVALID_ARG, unusable = DIAG_ERR_FAILED;

TEST(FailingCalls, OfAccesses)
{
    const diagtest::sim_board board;
    const std::string path = board.root + "/answer";
    std::array<uint8_t, 16> data{};
    const outcome unopened = {
        unusable, error_line("i2ctool_get", "Could Not open End of i2c Pipe (" + path + ") [/]\n")};
    const outcome no_process = {minus_one,
                                error_line("i2ctool_get", "FAILED <<<---\nError Reading from I2C\n")};
    sweep({"i2ctool_get",
           [&] {
               data[0] = 0xee;
               const uint32_t status = i2ctool_get("3", 0x50, 0, &reg8_data8, 1, path.c_str(), data.data());
               const bool may_miss = world.plan.size() > 2 &&
                                     (world.first == "read1" || world.first.starts_with("poll"));
               EXPECT_TRUE(data[0] == (status != 0 ? 0xee : 'B') || (may_miss && data[0] == 0xee));
               return status;
           },
           "1 bytes read from the fifo\n",
           {{"mkfifo1!", {unusable, error_line("i2ctool_get", "Error Creating I2C pipe " + path + "\n")}},
            {"open1", unopened},
            {"fstat1", unopened},
            {"posix_spawnattr1!", no_process},
            {"posix_spawnp1!", no_process},
            {"read1!", {0, "-1 bytes read from the fifo\n"}}},
           path});
    const outcome unstarted = {minus_one, error_line("ipmitool2_get", "sys cmd exec failed!\n")};
    sweep({"ipmitool2_get",
           [&] { return ipmitool2_get(6, 1, 0, nullptr, 15, data.data()); },
           "15 bytes read from the fifo\n",
           {{"pipe21", unstarted},
            {"file_actions1!", unstarted},
            {"adddup21!", unstarted},
            {"posix_spawnattr1!", unstarted},
            {"posix_spawnp1!", unstarted},
            {"read1", {minus_one, "Error Reading 0 bytes from IPMII2C\n"}}}});
    const outcome unwritten = {
        minus_one, error_line("ipmitool_set",
                              "shell command(ipmitool raw 0x38 0x3 0x3 0x50 0x0 0x42 > /dev/null) failed\n")};
    sweep({"ipmitool_set",
           [&] {
               return ipmitool_set("0-3", 0x50, 0, &reg8_data8, reinterpret_cast<const uint8_t *>("B"), 1, 0);
           },
           " > /dev/null\n",
           {{"file_actions1!", unwritten},
            {"addopen1!", unwritten},
            {"posix_spawnattr1!", unwritten},
            {"posix_spawnp1!", unwritten}}});
    sweep({"epoll_generic_set",
           [] {
               const uint32_t status = epoll_generic_set("/bin/true", nullptr, nullptr);
               EXPECT_EQ(wait4(-1, nullptr, 0, nullptr) > 0, status == 0);
               return status;
           },
           "",
           {{"fork1", {unusable, error_line("epoll_generic_set", "Couldn't fork\n")}}}});
}

TEST(FailingCalls, OfSocketsAndThreads)
{
    tool_info *tool = diagtest::new_client(), *other = diagtest::new_client();
    const outcome no_thread = {
        invalid,
        error_line("create_thread", "Thread creation failed with code = 11\n") +
            error_line("create_sock_threads", "Can't create tx thread for tool id = 3 with inst_id = 1\n")};
    const std::string closing =
        error_line("create_sock_threads", "Socket creation failed for the tool id = 3 & inst id = 1\n");
    for (const int connects : {0, 1}) {
        sweep({"create_sock_threads",
               [other, connects] {
                   const auto start = [](void *arg) { return arg; };
                   other->tx_thread = other->rx_thread = 0;
                   other->sock_cfg.port = connects != 0 ? 9 : 0;
                   const uint32_t status =
                       create_sock_threads(nullptr, nullptr, other, start, start, connects);
                   for (const pthread_t thread : {other->tx_thread, other->rx_thread}) {
                       EXPECT_TRUE(thread == 0 || pthread_join(thread, nullptr) == 0);
                   }
                   EXPECT_EQ(close(other->sock_fd) == 0, world.first != "socket1" && world.first != "bind1");
                   return status;
               },
               " created successfully\n",
               {{"socket1", {invalid, error_line("create_socket", "Socket creation error \n") + closing}},
                {"bind1", {invalid, "Socket bind failure with err code  [98]\n" + closing}},
                {"connect1", {invalid, "Socket connect fail with err code [100]\n" + closing}},
                {"pthread_create1", no_thread},
                {"pthread_create2", no_thread}}});
    }

    tool->tx_started = 1; // the caller itself sends
    const std::string queued = "Request queueing succesful\n";
    sweep({"request_busbroker",
           [tool] {
               busbroker_req_resp req{};
               req.flags = BB_REQ_NO_WAIT;
               const uint32_t status = request_busbroker(&req, tool, "cpu0", "fpga", 0, 0, 5);
               EXPECT_EQ(tool->tx_queue->send_count,
                         world.first == "sendto1" && world.plan[0] == 'f' ? 2 : 1);
               deque_tool_request(tool, 0);
               return status;
           },
           queued,
           {{"sendto1",
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
           {{"recvfrom1",
             {invalid, error_line("receive_from_socket",
                                  "Error while rx data from socket , failed with err code 12\n")}}}});
}

TEST(FailingCalls, OfTimers)
{
    world.watches_signals = true;
    const auto timer_call = [](uint32_t mode) {
        return [mode] {
            int marker = 0;
            timer_t timer = &marker;
            sigset_t before = {}, after = {};
            __real_sigprocmask(SIG_SETMASK, nullptr, &before);
            const uint32_t status = init_timer(mode, &timer, 2);
            __real_sigprocmask(SIG_SETMASK, &before, &after);
            EXPECT_TRUE(status == 0 || world.plan.size() > 2 || memcmp(&before, &after, sizeof before) == 0);
            EXPECT_TRUE(status == 0 || timer == nullptr); // the first timer of a process is null, too
            if (status == 0) {
                if (mode == 0) {
                    waitfor_timeout(timer, 0.01);
                }
                timer_delete(timer);
            }
            return status;
        };
    };
    const outcome no_timer = {invalid, error_line("init_timer", "Failed to create timer \n")};
    sweep(
        {"a polling timer",
         timer_call(0),
         "",
         {{"timer_create1", no_timer},
          {"timer_settime1", {0, error_line("waitfor_timeout", "Failed to set time to timer with id\n")}}}});
    sweep({"a periodic timer",
           timer_call(1),
           "Timer created succesfully\n",
           {{"sigaction1", {invalid, error_line("init_timer", "Failed to allocate handler for timer\n")}},
            {"sigprocmask1", {invalid, error_line("init_timer", "Failed to mask the signal\n")}},
            {"timer_create1", no_timer},
            {"timer_settime1", {invalid, ""}},
            {"sigprocmask2", {invalid, error_line("init_timer", "Can't un mask the timer signal\n")}}}});
}

} // namespace
