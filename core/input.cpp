/* SPDX-License-Identifier: MIT */
// The operator's keyboard: a single key within a time, or a line. Both read the stream stdin, so that what
// one left in its buffer the other finds first.
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <termios.h>
#include <unistd.h>

#include <boarddiag/core.h>

#include "core/reason.h"
#include "core/report.h"

namespace {

// How a try to read a character went, where it gave none.
constexpr int not_yet = -1;      // nothing there now: poll tells when it is worth another try
constexpr int end_of_input = -2; // the end, or a failure: poll would return at once

constexpr int retry_pause_ms = 50; // between tries at the end of input, which may yet grow
constexpr int ms_per_second = 1000;
constexpr long ns_per_ms = 1000000;
constexpr int no_time_limit = -1;

struct terminal_state {
    struct termios attributes;
    bool is_terminal;
    int flags; // -1 when they could not be read
    int cancel_state;
};

// One character, 0 to 255, or one of the two marks. The stream's indicators are cleared before and after, as
// either would keep a later read from seeing a key.
int try_read(void)
{
    clearerr(stdin);
    errno = 0;
    const int c = getc(stdin);
    if (c != EOF) {
        return c;
    }
    const bool waits = ferror(stdin) != 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
    clearerr(stdin);
    return waits ? not_yet : end_of_input;
}

// A signal ends the sleep early, which only makes the next try come sooner.
void sleep_until_input(int outcome, int limit_ms)
{
    struct pollfd input = {STDIN_FILENO, POLLIN, 0};
    const bool at_end = outcome == end_of_input;

    poll(&input, at_end ? 0 : 1, at_end && limit_ms > retry_pause_ms ? retry_pause_ms : limit_ms);
}

terminal_state enter_key_mode(const char *function)
{
    terminal_state saved;

    // On a terminal standard output turns non-blocking too, and would drop what it could not write at once.
    fflush(stdout);
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &saved.cancel_state);
    saved.is_terminal = tcgetattr(STDIN_FILENO, &saved.attributes) == 0;
    if (saved.is_terminal) {
        struct termios keys = saved.attributes;
        keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
        keys.c_cc[VMIN] = 1; // poll tells of the first key
        keys.c_cc[VTIME] = 0;
        tcsetattr(STDIN_FILENO, TCSANOW, &keys);
    }
    saved.flags = fcntl(STDIN_FILENO, F_GETFL);
    if (saved.flags == -1 || fcntl(STDIN_FILENO, F_SETFL, saved.flags | O_NONBLOCK) == -1) {
        REPORT_ERROR(function, "fcntl error\n");
    }
    return saved;
}

void leave_key_mode(const char *function, const terminal_state &saved)
{
    if (saved.is_terminal) {
        tcsetattr(STDIN_FILENO, TCSANOW, &saved.attributes);
    }
    if (saved.flags == -1 || fcntl(STDIN_FILENO, F_SETFL, saved.flags) == -1) {
        REPORT_ERROR(function, "fcntl error\n");
    }
    pthread_setcancelstate(saved.cancel_state, nullptr);
}

struct timespec clock_now(void)
{
    struct timespec now = {};

    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

// Sleeps end with each whole second of the clock: only there can the limit be reached, and a clock that is
// set during the wait is noticed.
int ms_to_next_second(const struct timespec &now)
{
    return ms_per_second - static_cast<int>(now.tv_nsec / ns_per_ms);
}

int read_key(int64_t seconds)
{
    const int64_t start = clock_now().tv_sec;

    for (;;) {
        const int key = try_read();
        if (key >= 0) {
            return key;
        }
        const struct timespec now = clock_now();
        if (now.tv_sec - start >= seconds) {
            return -1;
        }
        sleep_until_input(key, ms_to_next_second(now));
    }
}

// The next character of a line, however long it takes, or end_of_input.
int read_char(void)
{
    for (;;) {
        const int c = try_read();
        if (c != not_yet) {
            return c == 0xff ? end_of_input : c;
        }
        sleep_until_input(c, no_time_limit);
    }
}

} // namespace

int wait_key_pressed(int64_t seconds)
{
    const terminal_state saved = enter_key_mode(__func__);
    const int key = read_key(seconds);

    leave_key_mode(__func__, saved);
    if (key < 0) {
        boarddiag::set_reason("no key in %lld s", static_cast<long long>(seconds));
    }
    return key;
}

int get_user_input(char *buf, int size)
{
    int stored = 0;

    if (buf == nullptr || size < 1) {
        REPORT_ERROR(__func__, "Invalid buffer of %d bytes\n", size);
        return -1;
    }
    for (;;) {
        const int c = read_char();
        if (c == end_of_input && stored == 0) {
            boarddiag::set_reason("the input has ended");
            return -1;
        }
        if (c == end_of_input || c == '\n') {
            buf[stored] = '\0';
            return stored;
        }
        if (stored < size - 1) {
            buf[stored++] = static_cast<char>(c);
        }
    }
}
