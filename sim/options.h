/* SPDX-License-Identifier: MIT */
// Command lines by table: a tool has a few forms, each a list of options with the exact spelling of their
// values. Whatever a form does not tell is refused, so that no wrong command line is taken by accident.
#ifndef BOARDSIM_OPTIONS_H
#define BOARDSIM_OPTIONS_H

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace boardsim {

/// A number as printf spells it: `digits` at least, padded with zeros to that and no further, lower case.
struct number_form {
    unsigned base;   // 10, or 16 with 0x before the digits
    unsigned digits; // the width that zeros fill
    uint64_t max;
};

inline constexpr number_form decimal_form{10, 1, INT32_MAX};
inline constexpr number_form hex2_byte{16, 2, UINT8_MAX};
inline constexpr number_form hex4_word{16, 4, UINT16_MAX};
inline constexpr number_form hex8_long{16, 8, UINT32_MAX};
inline constexpr number_form hex2_long{16, 2, UINT32_MAX};
inline constexpr number_form hex1_byte{16, 1, UINT8_MAX};
inline constexpr number_form hex1_any{16, 1, UINT64_MAX};

std::optional<uint64_t> parse_number(std::string_view text, const number_form &form);

enum class option_kind : uint8_t {
    flag,      // --name
    word,      // --name=text, not empty
    may_empty, // --name=text or --name=
    number,    // --name=number
    list,      // --name=number,number...; may be empty
};

enum class presence : uint8_t {
    required,
    optional,
    one_of, // exactly one of those so marked
};

struct option_spec {
    const char *name; // without the two dashes
    option_kind kind;
    presence need;
    number_form form = {};
};

/// The values given on a command line.
struct option_value {
    std::string_view name;
    std::string_view text;
    std::vector<uint64_t> numbers; // one for a number
};
using option_values = std::vector<option_value>;

/// Checks `args` against `specs`; tells what is wrong and returns nothing when they do not agree.
std::optional<option_values> parse_options(std::span<const char *const> args,
                                           std::span<const option_spec> specs);

/// Lookups in a parsed command line.
bool given(const option_values &values, std::string_view name);
std::string_view text_of(const option_values &values, std::string_view name);
uint64_t number_of(const option_values &values, std::string_view name);
std::span<const uint64_t> numbers_of(const option_values &values, std::string_view name);
std::vector<uint8_t> bytes_of(const option_values &values, std::string_view name);

} // namespace boardsim

#endif
