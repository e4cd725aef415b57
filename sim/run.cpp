/* SPDX-License-Identifier: MIT */
// A tool's run as a program.
#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "message.h"
#include "tools.h"
#include "usage.h"

namespace boardsim {

namespace {

constexpr std::array<const tool *, 7> tools = {&gpiotool, &i2ctool,   &ipmitool, &lpctool,
                                               &memtool,  &nvramtool, &pcitool};
constexpr unsigned largest_result = 16 << 20;
constexpr int reader_limit_ms = 5000;  // what a reader that takes nothing from a full FIFO is waited for
constexpr uint8_t surplus_byte = 0xa5; // stands for what a too long result carries behind its end

std::string command_line(const tool &what, arguments args)
{
    std::string line = what.name;
    for (const char *arg : args) {
        line += ' ';
        line += arg;
    }
    return line;
}

// Counts and logs the run as one step, so that runs at the same time get different numbers.
std::optional<fault> begin_run(const board &b, const tool &what, arguments args)
{
    const std::optional<std::string> text = read_text(b, fault_file);
    const unsigned earlier = text ? logged_runs(b, what.name) : 0;
    if (!log_command(b, command_line(what, args))) {
        return std::nullopt;
    }
    return text ? parse_faults(*text, what.name, earlier) : fault{};
}

void die_of(int signal_number)
{
    prctl(PR_SET_DUMPABLE, 0); // a death that was asked for leaves no core file
    signal(signal_number, SIG_DFL);
    raise(signal_number);
}

int refuse_verb(const tool &what, const std::string &verb)
{
    std::string verbs;
    for (const command_form &form : what.forms) {
        verbs += std::string(verbs.empty() ? "--" : " or --") + form.verb;
    }
    complain_usage("the first argument is %s, not '%s'", verbs.c_str(), verb.c_str());
    return status_usage;
}

int run_form(const tool &what, tool_run &run, arguments args)
{
    const std::string verb = args.empty() ? "" : args[0];
    const auto form = std::ranges::find_if(what.forms, [&](const command_form &f) {
        return verb.starts_with("--") && verb.substr(2) == f.verb;
    });
    if (form == what.forms.end()) {
        return refuse_verb(what, verb);
    }
    const std::optional<option_values> values = parse_options(args, form->options);
    return values ? form->run(run, *values) : status_usage;
}

int access_board(const tool &what, tool_run &run, arguments args)
{
    return what.run_raw != nullptr ? what.run_raw(run, args) : run_form(what, run, args);
}

int run_locked(const tool &what, board &b, arguments args)
{
    const std::optional<fault> failing = begin_run(b, what, args);
    if (!failing) {
        return status_usage;
    }
    if (failing->late_ms != 0) {
        unlock_board(b); // a slow tool holds up nobody else
        usleep(failing->late_ms * 1000);
        if (!lock_board(b)) {
            return status_device;
        }
    }
    if (failing->signal) {
        die_of(*failing->signal);
    }
    if (failing->exit_status) {
        return *failing->exit_status;
    }
    tool_run run{b, *failing};
    return access_board(what, run, args);
}

// Opened without waiting: a reader that is not there is an error, not a tool that hangs.
int open_fifo(const std::string &path)
{
    const int fd = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat info = {};
    if (fd >= 0 && (fstat(fd, &info) != 0 || !S_ISFIFO(info.st_mode))) {
        close(fd);
        errno = ENOSTR;
        return -1;
    }
    return fd;
}

// Writes on when the reader of a full FIFO has taken from it; the number of bytes that it took.
size_t write_all(int fd, std::span<const uint8_t> bytes)
{
    size_t written = 0;
    while (written < bytes.size()) {
        const ssize_t done = write(fd, &bytes[written], bytes.size() - written);
        pollfd room = {fd, POLLOUT, 0};
        if (done > 0) {
            written += static_cast<size_t>(done);
        } else if (errno != EINTR && (errno != EAGAIN || poll(&room, 1, reader_limit_ms) <= 0)) {
            break;
        }
    }
    return written;
}

} // namespace

const tool *find_tool(std::string_view name)
{
    const auto at = std::ranges::find_if(tools, [&](const tool *t) { return name == t->name; });
    return at == tools.end() ? nullptr : *at;
}

int run_tool(const tool &what, arguments args)
{
    set_program(what.name);
    if (is_answered(what.name, args)) {
        return status_ok;
    }
    signal(SIGPIPE, SIG_IGN);
    board b;
    int status = status_device;
    if (open_board(b, getenv("BOARDSIM_DIR")) && lock_board(b)) {
        status = run_locked(what, b, args);
    }
    close_board(b);
    return status;
}

bool sized(std::vector<uint8_t> &bytes, uint64_t count)
{
    if (count > largest_result) {
        complain_usage("a result has at most %u bytes", largest_result);
        return false;
    }
    bytes.resize(static_cast<size_t>(count));
    return true;
}

void distort(const fault &failing, std::vector<uint8_t> &bytes)
{
    const int size = static_cast<int>(bytes.size()) + failing.extra_bytes;
    bytes.resize(failing.silent || size < 0 ? 0 : static_cast<size_t>(size), surplus_byte);
}

int deliver(const tool_run &run, std::string_view pipe, std::vector<uint8_t> bytes)
{
    distort(run.failing, bytes);
    const std::string path(pipe);
    const int fd = open_fifo(path);
    if (fd < 0) {
        complain("%s is no FIFO with a reader: %s", path.c_str(), strerror(errno));
        return status_device;
    }
    unlock_board(run.b); // the access is over: a slow reader holds up nobody else
    const size_t written = write_all(fd, bytes);
    const bool good = written == bytes.size();
    if (!good) {
        complain("the reader of %s took %zu of %zu bytes", path.c_str(), written, bytes.size());
    }
    close(fd);
    return good ? status_ok : status_device;
}

} // namespace boardsim
