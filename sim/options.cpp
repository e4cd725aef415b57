/* SPDX-License-Identifier: MIT */
#include "options.h"

#include <algorithm>
#include <string>

#include "message.h"

namespace boardsim {

namespace {

constexpr std::string_view digit_text = "0123456789abcdef";

const option_value *find(const option_values &values, std::string_view name)
{
    const auto at = std::ranges::find(values, name, &option_value::name);
    return at == values.end() ? nullptr : &*at;
}

bool parse_list(std::string_view text, const number_form &form, std::vector<uint64_t> &out)
{
    while (!text.empty()) {
        const size_t comma = std::min(text.find(','), text.size());
        const std::optional<uint64_t> number = parse_number(text.substr(0, comma), form);
        if (!number || comma + 1 == text.size()) {
            return false; // a bad item, or a comma with nothing behind it
        }
        out.push_back(*number);
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return true;
}

bool parse_value(const option_spec &spec, option_value &value)
{
    switch (spec.kind) {
    case option_kind::number:
        if (const std::optional<uint64_t> number = parse_number(value.text, spec.form)) {
            value.numbers.push_back(*number);
            return true;
        }
        return false;
    case option_kind::list:
        return parse_list(value.text, spec.form, value.numbers);
    case option_kind::word:
        return !value.text.empty();
    default:
        return true;
    }
}

// Splits --name or --name=value and finds what the name stands for.
const option_spec *match(std::string_view arg, std::span<const option_spec> specs, option_value &value)
{
    if (!arg.starts_with("--")) {
        return nullptr;
    }
    const size_t equals = arg.find('=');
    const bool has_value = equals != std::string_view::npos;
    value.name = arg.substr(2, has_value ? equals - 2 : std::string_view::npos);
    value.text = has_value ? arg.substr(equals + 1) : std::string_view();
    const auto spec = std::ranges::find_if(specs, [&](const option_spec &s) { return s.name == value.name; });
    if (spec == specs.end() || has_value == (spec->kind == option_kind::flag)) {
        return nullptr;
    }
    return &*spec;
}

bool take(std::string_view arg, std::span<const option_spec> specs, option_values &values)
{
    option_value value;
    const std::string shown(arg);
    const option_spec *spec = match(arg, specs, value);
    if (spec == nullptr) {
        complain_usage("unknown option here: %s", shown.c_str());
        return false;
    }
    if (given(values, value.name)) {
        complain_usage("option given twice: %s", shown.c_str());
        return false;
    }
    if (!parse_value(*spec, value)) {
        complain_usage("malformed value: %s", shown.c_str());
        return false;
    }
    values.push_back(std::move(value));
    return true;
}

bool complete(const option_values &values, std::span<const option_spec> specs)
{
    std::string choices;
    size_t chosen = 0;
    for (const option_spec &spec : specs) {
        if (spec.need == presence::required && !given(values, spec.name)) {
            complain_usage("missing option: --%s", spec.name);
            return false;
        }
        if (spec.need == presence::one_of) {
            choices += std::string(" --") + spec.name;
            chosen += given(values, spec.name) ? 1U : 0U;
        }
    }
    if (!choices.empty() && chosen != 1) {
        complain_usage("exactly one option is needed of%s", choices.c_str());
        return false;
    }
    return true;
}

} // namespace

std::optional<uint64_t> parse_number(std::string_view text, const number_form &form)
{
    if (form.base == 16) {
        if (!text.starts_with("0x")) {
            return std::nullopt;
        }
        text.remove_prefix(2);
    }
    if (text.size() < form.digits || (text.size() > form.digits && text[0] == '0')) {
        return std::nullopt;
    }
    uint64_t number = 0;
    for (const char c : text) {
        const size_t digit = digit_text.find(c);
        if (digit >= form.base || digit > form.max || number > (form.max - digit) / form.base) {
            return std::nullopt;
        }
        number = number * form.base + digit;
    }
    return number;
}

std::optional<option_values> parse_options(std::span<const char *const> args,
                                           std::span<const option_spec> specs)
{
    option_values values;
    for (const char *arg : args) {
        if (!take(arg, specs, values)) {
            return std::nullopt;
        }
    }
    if (!complete(values, specs)) {
        return std::nullopt;
    }
    return values;
}

bool given(const option_values &values, std::string_view name)
{
    return find(values, name) != nullptr;
}

std::string_view text_of(const option_values &values, std::string_view name)
{
    const option_value *value = find(values, name);
    return value == nullptr ? std::string_view() : value->text;
}

uint64_t number_of(const option_values &values, std::string_view name)
{
    const option_value *value = find(values, name);
    return value == nullptr || value->numbers.empty() ? 0 : value->numbers[0];
}

std::span<const uint64_t> numbers_of(const option_values &values, std::string_view name)
{
    const option_value *value = find(values, name);
    return value == nullptr ? std::span<const uint64_t>() : std::span<const uint64_t>(value->numbers);
}

std::vector<uint8_t> bytes_of(const option_values &values, std::string_view name)
{
    std::vector<uint8_t> bytes;
    for (const uint64_t number : numbers_of(values, name)) {
        bytes.push_back(static_cast<uint8_t>(number));
    }
    return bytes;
}

} // namespace boardsim
