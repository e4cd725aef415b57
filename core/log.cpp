/* SPDX-License-Identifier: MIT */
#include <atomic>
#include <bit>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <pthread.h>
#include <syslog.h>

#include <boarddiag/core.h>

#include "core/reason.h"
#include "core/report.h"

using boarddiag::error_level;
using boarddiag::log_level;
using boarddiag::user_verb_level;

static_assert(std::endian::native == std::endian::little,
              "boarddiag decodes records and registers on little-endian hosts only");

namespace {

constexpr size_t message_size = 1024;

// Independent words like the levels.
std::atomic<int> test_level{0};
std::atomic<int> debug_enable{0};
std::atomic<bool> config_debug{false};

// Whether ticks of a periodic timer interrupt the threads of this process.
std::atomic<bool> ticks{false};

// What the calling thread gets back when its messages are out.
struct output_guard {
    bool masks;
    sigset_t mask;
    int cancel_state;
};

// Nothing comes between the messages of begin_output() and end_output() on the console. Standard output drops
// what it holds when a signal interrupts its write, so the periodic timer's tick waits; a thread that is
// cancelled would leave the stream locked.
void begin_output(output_guard *guard)
{
    sigset_t tick;

    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &guard->cancel_state);
    guard->masks = ticks.load(std::memory_order_relaxed);
    if (guard->masks) {
        sigemptyset(&tick);
        sigaddset(&tick, SIGALRM);
        pthread_sigmask(SIG_BLOCK, &tick, &guard->mask);
    }
    flockfile(stdout);
}

void end_output(const output_guard *guard)
{
    funlockfile(stdout);
    if (guard->masks) {
        pthread_sigmask(SIG_SETMASK, &guard->mask, nullptr);
    }
    pthread_setcancelstate(guard->cancel_state, nullptr);
}

void emit_text(int level, const char *text)
{
    const bool is_error = level == error_level;

    if (boarddiag::is_message_printed(level)) {
        if (is_error) {
            fputs("ERROR: ", stdout);
        }
        fputs(text, stdout);
    }
    if (boarddiag::is_message_logged(level)) {
        syslog(is_error ? LOG_ERR : LOG_INFO, is_error ? "ERROR: %s" : "%s", text);
    }
}

void format_message(char (&buff)[message_size], const char *format, va_list args)
{
    if (vsnprintf(buff, sizeof buff, format, args) < 0) {
        buff[0] = '\0';
    }
}

// Apart from diag_print(), which costs next to nothing as long as it needs no room for the text.
[[gnu::noinline]] void emit_whole(int level, const char *format, va_list args)
{
    char buff[message_size];

    format_message(buff, format, args);
    boarddiag::print_text(level, buff);
}

// The prefix and the message, with nothing between them.
void emit_report(int level, const char *function, int line, const char *message)
{
    char prefix[message_size];
    output_guard guard;

    snprintf(prefix, sizeof prefix, "%s[%d]: ", function, line);
    begin_output(&guard);
    emit_text(level, prefix);
    emit_text(level, message);
    end_output(&guard);
}

} // namespace

void boarddiag::expect_ticks()
{
    ticks.store(true, std::memory_order_relaxed);
}

void boarddiag::report(int level, const char *function, int line, const char *format, ...)
{
    if (!is_message_taken(level)) {
        return;
    }
    char message[message_size];
    va_list args;

    va_start(args, format);
    format_message(message, format, args);
    va_end(args);
    emit_report(level, function, line, message);
}

void boarddiag::report_error(const char *function, int line, const char *format, ...)
{
    char message[message_size];
    va_list args;

    va_start(args, format);
    format_message(message, format, args);
    va_end(args);
    emit_report(error_level, function, line, message);
    set_reason("%s: %s", function, message);
}

void boarddiag::print_text(int level, const char *text)
{
    output_guard guard;

    begin_output(&guard);
    emit_text(level, text);
    end_output(&guard);
}

void diag_print(int level, const char *format, ...)
{
    if (!boarddiag::is_message_taken(level)) {
        return;
    }
    va_list args;

    va_start(args, format);
    emit_whole(level, format, args);
    va_end(args);
}

int get_verb_level(void)
{
    return user_verb_level.load(std::memory_order_relaxed);
}

void set_verb_level(int level)
{
    user_verb_level.store(level, std::memory_order_relaxed);
}

void set_log_level(int level)
{
    log_level.store(level, std::memory_order_relaxed);
}

int get_test_level(void)
{
    return test_level.load(std::memory_order_relaxed);
}

void set_test_level(int level)
{
    test_level.store(level, std::memory_order_relaxed);
}

int get_debug_enable(void)
{
    return debug_enable.load(std::memory_order_relaxed);
}

void set_debug_enable(int value)
{
    debug_enable.store(value, std::memory_order_relaxed);
}

int get_config_debug_enable(void)
{
    return config_debug.load(std::memory_order_relaxed) ? 1 : 0;
}

void set_config_debug_enable(bool value)
{
    config_debug.store(value, std::memory_order_relaxed);
}

int is_eda_enabled(void)
{
    return 0;
}

int is_eda_ext_tests(void)
{
    return 0;
}

int is_eda_verbose(void)
{
    return 0;
}

int is_eda_stop_on_error(void)
{
    return 0;
}

int get_test_control(void)
{
    return 0;
}

int is_host_be(void)
{
    return 0;
}

void diag_syslog_init(const char *ident)
{
    openlog(ident, LOG_NDELAY, LOG_LOCAL1);
}

void diag_syslog_close(void)
{
    closelog();
}
