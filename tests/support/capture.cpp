/* SPDX-License-Identifier: MIT */
#include "support/capture.h"

#include <cctype>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <sys/mman.h>
#include <syslog.h>
#include <unistd.h>

namespace {

std::mutex log_mutex;
diagtest::captured current;

// "f[412]: " becomes "f[#]: ", wherever it stands.
std::string without_lines(std::string text)
{
    for (size_t end = text.find("]: "); end != std::string::npos; end = text.find("]: ", end + 1)) {
        const size_t number = text.find_last_not_of("0123456789", end - 1) + 1;
        if (number > 1 && number < end && text[number - 1] == '[' && isalnum(text[number - 2]) != 0) {
            end = text.replace(number, end - number, "#").find("]: ", number);
        }
    }
    return text;
}

std::string contents(int fd)
{
    std::string text(static_cast<size_t>(lseek(fd, 0, SEEK_END)), '\0');
    EXPECT_EQ(pread(fd, text.data(), text.size(), 0), static_cast<ssize_t>(text.size()));
    return text;
}

} // namespace

extern "C" {

void openlog(const char *ident, int option, int facility)
{
    const std::lock_guard lock(log_mutex);
    current.opened.push_back({ident, option, facility});
}

void syslog(int priority, const char *format, ...)
{
    char text[4096];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    const std::lock_guard lock(log_mutex);
    current.log.push_back({priority, text});
}

void closelog(void)
{
    const std::lock_guard lock(log_mutex);
    current.closed++;
}

} // extern "C"

namespace diagtest {

captured capture(const std::function<void()> &body)
{
    fflush(stdout);
    const int saved = dup(STDOUT_FILENO);
    const int file = memfd_create("console", MFD_CLOEXEC);
    dup2(file, STDOUT_FILENO);
    {
        const std::lock_guard lock(log_mutex);
        current = {};
    }
    body();
    fflush(stdout);
    dup2(saved, STDOUT_FILENO);
    close(saved);
    const std::lock_guard lock(log_mutex);
    captured result = current;
    result.console = without_lines(contents(file));
    close(file);
    for (log_entry &entry : result.log) {
        entry.text = without_lines(entry.text);
    }
    return result;
}

std::string console_of(const std::function<void()> &body)
{
    return capture(body).console;
}

std::string told(uint32_t status, const std::function<uint32_t()> &call)
{
    return console_of([&] { EXPECT_EQ(call(), status); });
}

std::string error_line(const std::string &function, const std::string &message)
{
    return "ERROR: " + function + "[#]: ERROR: " + message;
}

std::string times(int n, const std::string &text)
{
    return n > 0 ? text + times(n - 1, text) : "";
}

} // namespace diagtest
