/* SPDX-License-Identifier: MIT */
// Numbers, cleaned texts and versions: a count, a text, and behind a line end a second text to compare with.
#include "support.h"

void check_numbers(const char *text)
{
    uint64_t value = 0;
    uint32_t status = 0;

    for (const int width : {8, 16, 32, 64}) {
        const auto bytes = static_cast<size_t>(width) / 8;
        const text_ptr dest(static_cast<char *>(malloc(bytes)));
        atoh_p(text, dest.get(), width);
        value = 0;
        memcpy(&value, dest.get(), bytes);
    }
    require(atoh(text) == static_cast<uint32_t>(value));
    require((hex_to_i(*text, &status) == -1) == (status == DIAG_ERR_BAD_HEX_DIGIT));
}

void check_cleaning(std::string_view text)
{
    const text_ptr trimmed = copy_of(text), packed = copy_of(text), tabless = copy_of(text);
    const char *at = trimmed.get();

    require(skip_ws(&at) == at && at <= trimmed.get() + strlen(trimmed.get()));
    trim_spaces(trimmed.get());
    const std::string_view left = trimmed.get();
    require(!left.starts_with(' ') && !left.ends_with(' '));
    trim_all_spaces(packed.get());
    require(strchr(packed.get(), ' ') == nullptr);
    require(strchr(remove_tabs(tabless.get()), '\t') == nullptr);
}

void check_version(std::string_view text, int count)
{
    const text_ptr version = copy_of(text);

    for (const bool flag : {false, true}) {
        check_valid_char(version.get(), count, flag);
        check_valid_number(version.get(), count, flag);
    }
    check_valid_ver_format_and_image_type(version.get(), count);
}

void try_input(std::string_view rest)
{
    const int count = static_cast<int8_t>(next_byte(&rest));
    const std::string_view first = rest.data() != nullptr ? next_part(&rest, '\n') : "";
    const text_ptr text = copy_of(first), other = copy_of(rest.data() != nullptr ? rest : first);

    require(strncmpi(text.get(), text.get(), count) == 0);
    require(strncmpi(text.get(), other.get(), count) == strncmpi(other.get(), text.get(), count));
    check_numbers(text.get());
    check_cleaning(first);
    check_version(first, count);
}
