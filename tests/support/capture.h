/* SPDX-License-Identifier: MIT */
// What every test of the library starts from: the test framework, the public header, and a capture of what
// the library tells: standard output, and the calls of the system log, for which this stands in at link time.
#ifndef TESTS_SUPPORT_CAPTURE_H
#define TESTS_SUPPORT_CAPTURE_H

#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <boarddiag.h>

namespace diagtest {

struct log_entry {
    int priority;
    std::string text;
    bool operator==(const log_entry &) const = default;
};

struct log_open {
    std::string ident;
    int option;
    int facility;
};

struct captured {
    std::string console;        // standard output, source lines in error prefixes shown as [#]
    std::vector<log_entry> log; // entries of the system log, the same way
    std::vector<log_open> opened;
    int closed = 0;
};

/// Runs `body` and returns all that it told. Not to be nested.
captured capture(const std::function<void()> &body);

/// The console part of capture() alone.
std::string console_of(const std::function<void()> &body);

/// The console part of a call that has to return this status.
std::string told(uint32_t status, const std::function<uint32_t()> &call);

/// An error report as it stands on the console: error_line("f", "m\n") is "ERROR: f[#]: ERROR: m\n".
std::string error_line(const std::string &function, const std::string &message);

/// The text n times in a row.
std::string times(int n, const std::string &text);

} // namespace diagtest

#endif
