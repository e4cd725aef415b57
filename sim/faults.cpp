/* SPDX-License-Identifier: MIT */
#include "faults.h"

#include <csignal>
#include <sstream>
#include <string>
#include <vector>

#include "message.h"
#include "options.h"
#include "tools.h"

namespace boardsim {

namespace {

constexpr uint64_t longest_wait_ms = 600000;
constexpr uint64_t most_bytes = 65536;
constexpr uint64_t highest_exit = 255;
constexpr uint64_t highest_signal = SIGTERM; // up to here each one ends a program

struct fault_kind {
    const char *name;
    uint64_t min; // of its number
    uint64_t max; // 0: it takes none
    void (*set)(fault &f, int number);
};

constexpr fault_kind kinds[] = {
    {"exit", 0, highest_exit, [](fault &f, int n) { f.exit_status = n; }},
    {"signal", 1, highest_signal, [](fault &f, int n) { f.signal = n; }},
    {"silent", 0, 0, [](fault &f, int) { f.silent = true; }},
    {"short", 1, most_bytes, [](fault &f, int n) { f.extra_bytes = -n; }},
    {"long", 1, most_bytes, [](fault &f, int n) { f.extra_bytes = n; }},
    {"late", 1, longest_wait_ms, [](fault &f, int n) { f.late_ms = static_cast<unsigned>(n); }},
    {"garbage", 0, 0, [](fault &f, int) { f.garbage = true; }},
};

using words = std::vector<std::string>;

words split(const std::string &line)
{
    std::istringstream in(line.substr(0, line.find('#')));
    words found;
    for (std::string word; in >> word;) {
        found.push_back(word);
    }
    return found;
}

const fault_kind *find_kind(const std::string &name)
{
    for (const fault_kind &kind : kinds) {
        if (name == kind.name) {
            return &kind;
        }
    }
    return nullptr;
}

// The number behind a kind that takes one, 0 for the others; nothing when malformed.
std::optional<uint64_t> number_of(const fault_kind &kind, const words &line, size_t at)
{
    if (kind.max == 0) {
        return 0;
    }
    const std::string text = at < line.size() ? line[at] : "";
    const std::optional<uint64_t> number = parse_number(text, {10, 1, kind.max});
    return number && *number >= kind.min ? number : std::nullopt;
}

// <tool> <good-runs> <what> [number] [once]; false when malformed.
bool apply(const words &line, std::string_view tool_name, unsigned earlier_runs, fault &f)
{
    const fault_kind *kind = line.size() < 3 ? nullptr : find_kind(line[2]);
    if (kind == nullptr || find_tool(line[0]) == nullptr) {
        return false;
    }
    const std::optional<uint64_t> good_runs = parse_number(line[1], decimal_form);
    const std::optional<uint64_t> number = number_of(*kind, line, 3);
    const size_t end = kind->max == 0 ? 3 : 4;
    const bool once = line.size() == end + 1 && line[end] == "once";
    const bool possible = kind->name != std::string_view("garbage") || line[0] == ipmitool.name;
    if (!good_runs || !number || (line.size() != end && !once) || !possible) {
        return false;
    }
    if (line[0] == tool_name && (once ? earlier_runs == *good_runs : earlier_runs >= *good_runs)) {
        kind->set(f, static_cast<int>(*number));
    }
    return true;
}

} // namespace

std::optional<fault> parse_faults(std::string_view text, std::string_view tool, unsigned earlier_runs)
{
    std::istringstream in{std::string(text)};
    fault f;
    unsigned line_number = 0;
    for (std::string line; std::getline(in, line);) {
        line_number++;
        const words parts = split(line);
        if (!parts.empty() && !apply(parts, tool, earlier_runs, f)) {
            complain("%s, line %u: not a fault: %s", fault_file, line_number, line.c_str());
            return std::nullopt;
        }
    }
    return f;
}

} // namespace boardsim
