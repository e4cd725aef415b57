/* SPDX-License-Identifier: MIT */
// The texts of the IPMI wrappers: room for the bytes, the size of the pieces that the text comes in, and the
// text. Where it is cut must not matter.
#include "support.h"

#include "access/ipmi_text.h"

using taker = bool (*)(boarddiag::placed_pairs *, std::string_view);

std::vector<uint8_t> pairs_of(taker take, std::string_view text, size_t room, size_t limit)
{
    std::vector<uint8_t> dest(room, 0xee);
    boarddiag::placed_pairs pairs{};
    bool wanted = true;

    pairs.dest = dest;
    for (; wanted && !text.empty(); text.remove_prefix(std::min(limit, text.size()))) {
        const std::string_view head = text.substr(0, limit);
        const std::vector<char> piece(head.begin(), head.end());
        wanted = take(&pairs, {piece.data(), piece.size()});
    }
    boarddiag::end_pairs(&pairs);
    return dest;
}

void try_input(std::string_view text)
{
    const size_t room = next_byte(&text);
    const size_t limit = next_byte(&text) + size_t{1};
    const std::vector<char> line(text.begin(), text.end());
    std::vector<uint8_t> dest(room);
    int number = 0;

    require(boarddiag::store_pairs({line.data(), line.size()}, dest) <= room);
    for (const taker take : {boarddiag::take_lines, boarddiag::take_block}) {
        require(pairs_of(take, text, room, limit) == pairs_of(take, text, room, text.size()));
    }
    boarddiag::bus_number_behind_dash(copy_of(text).get(), &number);
    boarddiag::bus_number_of_second_piece(copy_of(text.substr(0, boarddiag::max_bus_text)).get(), &number);
}
