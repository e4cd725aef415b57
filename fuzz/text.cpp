/* SPDX-License-Identifier: MIT */
// Numbers, cleaned texts and versions: a count, a text, and behind a line end a second text to compare with.
#include "support.h"

namespace {

void check_numbers(const char *text)
{
    uint64_t value = 0;
    uint32_t status = 0;

    for (const int width : {8, 16, 32, 64}) {
        const auto bytes = static_cast<size_t>(width) / 8;
        const fuzz::text_ptr dest(static_cast<char *>(malloc(bytes)));
        atoh_p(text, dest.get(), width);
        value = 0;
        memcpy(&value, dest.get(), bytes);
    }
    fuzz::require(atoh(text) == static_cast<uint32_t>(value));
    fuzz::require((hex_to_i(*text, &status) == -1) == (status == DIAG_ERR_BAD_HEX_DIGIT));
}

void check_cleaning(std::string_view text)
{
    const fuzz::text_ptr trimmed = fuzz::copy_of(text);
    const fuzz::text_ptr packed = fuzz::copy_of(text);
    const fuzz::text_ptr tabless = fuzz::copy_of(text);
    const char *at = trimmed.get();

    fuzz::require(skip_ws(&at) == at && at <= trimmed.get() + strlen(trimmed.get()));
    trim_spaces(trimmed.get());
    const std::string_view left = trimmed.get();
    fuzz::require(!left.starts_with(' ') && !left.ends_with(' '));
    trim_all_spaces(packed.get());
    fuzz::require(strchr(packed.get(), ' ') == nullptr);
    fuzz::require(strchr(remove_tabs(tabless.get()), '\t') == nullptr);
}

void check_version(std::string_view text, int count)
{
    const fuzz::text_ptr version = fuzz::copy_of(text);

    for (const bool flag : {false, true}) {
        check_valid_char(version.get(), count, flag);
        check_valid_number(version.get(), count, flag);
    }
    check_valid_ver_format_and_image_type(version.get(), count);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string_view rest = fuzz::input(data, size);
    const int count = static_cast<int8_t>(fuzz::next_byte(&rest));
    const std::string_view first = rest.data() != nullptr ? fuzz::next_part(&rest, '\n') : "";
    const fuzz::text_ptr text = fuzz::copy_of(first);
    const fuzz::text_ptr other = fuzz::copy_of(rest.data() != nullptr ? rest : first);

    fuzz::require(strncmpi(text.get(), text.get(), count) == 0);
    fuzz::require(strncmpi(text.get(), other.get(), count) == strncmpi(other.get(), text.get(), count));
    check_numbers(text.get());
    check_cleaning(first);
    check_version(first, count);
    return 0;
}
