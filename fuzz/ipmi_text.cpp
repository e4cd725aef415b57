/* SPDX-License-Identifier: MIT */
// The texts of the IPMI wrappers: room for the bytes, the size of the pieces that the text comes in, and the
// text. Where it is cut must not matter.
#include "support.h"

#include <string>
#include <vector>

#include "access/ipmi_text.h"

namespace {

using boarddiag::placed_pairs;

template <bool take(placed_pairs *, std::string_view)>
std::vector<uint8_t> pairs_of(std::string_view text, size_t room, size_t limit)
{
    std::vector<uint8_t> dest(room, 0xee);
    placed_pairs pairs{};
    bool wanted = true;

    pairs.dest = dest;
    while (wanted && !text.empty()) {
        const std::vector<char> piece(
            text.begin(),
            text.begin() + std::min<ptrdiff_t>(std::ssize(text), static_cast<ptrdiff_t>(limit)));
        wanted = take(&pairs, {piece.data(), piece.size()});
        text.remove_prefix(piece.size());
    }
    boarddiag::end_pairs(&pairs);
    return dest;
}

template <bool take(placed_pairs *, std::string_view)>
void check(std::string_view text, size_t room, size_t limit)
{
    fuzz::require(pairs_of<take>(text, room, limit) == pairs_of<take>(text, room, text.size()));
}

void check_bus(std::string_view text)
{
    int number = 0;

    boarddiag::bus_number_behind_dash(fuzz::copy_of(text).get(), &number);
    boarddiag::bus_number_of_second_piece(fuzz::copy_of(text.substr(0, boarddiag::max_bus_text)).get(),
                                          &number);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string_view text = fuzz::input(data, size);
    const size_t room = fuzz::next_byte(&text);
    const size_t limit = fuzz::next_byte(&text) + size_t{1};
    const std::vector<char> line(text.begin(), text.end());
    std::vector<uint8_t> dest(room);

    fuzz::require(boarddiag::store_pairs({line.data(), line.size()}, dest) <= room);
    check<boarddiag::take_lines>(text, room, limit);
    check<boarddiag::take_block>(text, room, limit);
    check_bus(text);
    return 0;
}
