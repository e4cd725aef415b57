/* SPDX-License-Identifier: MIT */
#include "devtree/identifier.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

constexpr char segment_end = '-';
constexpr char channel_end = '.';

// Takes the text up to `end` or the end of `rest`, and cuts the one separator behind it.
std::string_view take_until(std::string_view *rest, char end)
{
    const std::string_view token(rest->data(), std::min(rest->find(end), rest->size()));
    rest->remove_prefix(std::min(token.size() + 1, rest->size()));
    return token;
}

void skip(std::string_view *rest, char separator)
{
    while (rest->starts_with(separator)) {
        rest->remove_prefix(1);
    }
}

} // namespace

void boarddiag::append(path_text *path, std::string_view piece)
{
    const size_t length = std::min(piece.size(), sizeof path->text - 1 - path->length);

    memcpy(path->text + path->length, piece.data(), length);
    path->length += length;
    path->text[path->length] = '\0';
}

bool boarddiag::take_hop(std::string_view *rest, std::string_view *segment)
{
    skip(rest, segment_end);
    *segment = take_until(rest, segment_end);
    return !segment->empty() && !rest->empty();
}

boarddiag::channel_syntax boarddiag::take_channel(std::string_view *rest, std::string_view *token,
                                                  int32_t *sel)
{
    char number[max_id_length + 1];

    skip(rest, channel_end);
    if (rest->empty()) {
        return channel_syntax::missing;
    }
    *token = take_until(rest, channel_end);
    if (token->size() >= sizeof number) {
        return channel_syntax::malformed;
    }
    memcpy(number, token->data(), token->size());
    number[token->size()] = '\0';
    char *end = nullptr;
    // No upper bound is applied but that of a long; the number is cut to the selection's width.
    *sel = static_cast<int32_t>(static_cast<uint32_t>(strtol(number, &end, 16)) - 1u);
    return *end == '\0' ? channel_syntax::valid : channel_syntax::malformed;
}
