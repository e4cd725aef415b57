/* SPDX-License-Identifier: MIT */
// What every test of the library starts from: the test framework, the public header, what most tests use of
// the standard library, and a capture of what the library tells: standard output, and the calls of the system
// log, for which this stands in at link time.
#ifndef TESTS_SUPPORT_CAPTURE_H
#define TESTS_SUPPORT_CAPTURE_H

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include <boarddiag.h>

namespace diagtest {

/// Source lines in error prefixes are shown as [#]; calls of the system log as "<PRIORITY>text",
/// "<open NAME OPTIONS FACILITY>" and "<close>".
struct captured {
    std::string console, log;
};

/// Runs `body` and returns all that it told. Not to be nested.
captured capture(const std::function<void()> &body);

/// The console part of capture() alone.
inline std::string console_of(const std::function<void()> &body)
{
    return capture(body).console;
}

/// The console part of a call that has to return this status.
inline std::string told(uint32_t status, const std::function<uint32_t()> &call)
{
    return console_of([&] { EXPECT_EQ(call(), status); });
}

/// An error report as it stands on the console: error_line("f", "m\n") is "ERROR: f[#]: ERROR: m\n".
inline std::string error_line(const std::string &function, const std::string &message)
{
    return "ERROR: " + function + "[#]: ERROR: " + message;
}

/// What a file holds.
inline std::string text_of(const std::string &path)
{
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

/// The text n times in a row.
inline std::string times(int n, const std::string &text)
{
    return n > 0 ? text + times(n - 1, text) : "";
}

} // namespace diagtest

using namespace diagtest;
using namespace std::string_literals;

#endif
