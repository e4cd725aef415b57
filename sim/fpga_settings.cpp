/* SPDX-License-Identifier: MIT */
#include "fpga_settings.h"

#include <sstream>
#include <string>

#include "message.h"
#include "options.h"

namespace boardsim {

namespace {

constexpr number_form polls_form = {10, 1, UINT8_MAX};
constexpr number_form nth_form = {10, 1, UINT32_MAX};

bool take_polls(std::string_view text, unsigned &polls)
{
    const std::optional<uint64_t> number = parse_number(text, polls_form);
    if (text == "never") {
        polls = fpga_never;
        return true;
    }
    polls = static_cast<unsigned>(number.value_or(0));
    return polls != 0;
}

bool take_status(std::string_view text, std::optional<uint8_t> &status)
{
    const std::optional<uint64_t> number = parse_number(text, hex2_byte);
    status = static_cast<uint8_t>(number.value_or(0));
    return number.has_value();
}

bool take_register(const std::string &word, std::optional<uint16_t> &reg)
{
    const std::optional<uint64_t> number = parse_number(word, hex4_word);
    if (number) {
        reg = static_cast<uint16_t>(*number);
    }
    return number || word == "any";
}

// "read 0x0106 3": the third read of that register; "any any 5+": from the fifth access on, all.
bool take_failure(const std::string &text, std::vector<fpga_failure> &failures)
{
    std::istringstream words(text);
    std::string way;
    std::string reg;
    std::string nth;
    std::string surplus;
    if (failures.size() == max_fpga_failures || !(words >> way >> reg >> nth) || words >> surplus) {
        return false;
    }
    fpga_failure failure = {};
    failure.reads = way == "read" || way == "any";
    failure.writes = way == "write" || way == "any";
    failure.and_later = nth.ends_with('+');
    if (failure.and_later) {
        nth.pop_back();
    }
    failure.nth = static_cast<uint32_t>(parse_number(nth, nth_form).value_or(0));
    const bool good =
        (failure.reads || failure.writes) && failure.nth != 0 && take_register(reg, failure.reg);
    failures.push_back(failure);
    return good;
}

bool take_setting(const std::string &key, const std::string &value, fpga_settings &out)
{
    if (key == "indirect_polls") {
        return take_polls(value, out.indirect.polls);
    }
    if (key == "operation_polls") {
        return take_polls(value, out.operation.polls);
    }
    if (key == "mode_polls") {
        return take_polls(value, out.mode_polls);
    }
    if (key == "indirect_status") {
        return take_status(value, out.indirect.status);
    }
    if (key == "operation_status") {
        return take_status(value, out.operation.status);
    }
    return key == "fail" && take_failure(value, out.failures);
}

} // namespace

std::optional<fpga_settings> parse_fpga_settings(std::string_view text)
{
    fpga_settings settings;
    std::istringstream lines{std::string(text)};
    for (std::string line; std::getline(lines, line);) {
        const size_t equals = line.find('=');
        if (line.empty() || line.starts_with('#')) {
            continue;
        }
        if (equals == std::string::npos ||
            !take_setting(line.substr(0, equals), line.substr(equals + 1), settings)) {
            complain("malformed line of FPGA settings: %s", line.c_str());
            return std::nullopt;
        }
    }
    return settings;
}

} // namespace boardsim
