/* SPDX-License-Identifier: MIT */
#include "support/capture.h"

#include <cstdarg>
#include <mutex>
#include <regex>
#include <sys/mman.h>
#include <syslog.h>
#include <utility>

namespace {

std::mutex log_mutex;
std::string log_calls;

void note(const std::string &call)
{
    const std::lock_guard lock(log_mutex);
    log_calls += call;
}

std::string taken_log()
{
    const std::lock_guard lock(log_mutex);
    return std::exchange(log_calls, "");
}

std::string without_lines(const std::string &text)
{
    static const std::regex line("([[:alnum:]])\\[[0-9]+\\]: ");
    return std::regex_replace(text, line, "$1[#]: ");
}

} // namespace

extern "C" {

void openlog(const char *ident, int option, int facility)
{
    note("<open " + std::string(ident) + ' ' + std::to_string(option) + ' ' + std::to_string(facility) + '>');
}

void vsyslog(int priority, const char *format, va_list args)
{
    char text[4096];
    vsnprintf(text, sizeof text, format, args);
    note('<' + std::to_string(priority) + '>' + text);
}

void syslog(int priority, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    vsyslog(priority, format, args);
    va_end(args);
}

// What a call of syslog() becomes with _FORTIFY_SOURCE.
void __syslog_chk(int priority, int, const char *format, ...)
{
    va_list args;
    va_start(args, format);
    vsyslog(priority, format, args);
    va_end(args);
}

void closelog(void)
{
    note("<close>");
}

} // extern "C"

captured diagtest::capture(const std::function<void()> &body)
{
    fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    const int file = memfd_create("console", MFD_CLOEXEC);
    dup2(file, STDOUT_FILENO);
    taken_log();
    body();
    fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    std::string console(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(file, console.data(), console.size(), 0), std::ssize(console));
    close(file);
    return {without_lines(console), without_lines(taken_log())};
}
