/* SPDX-License-Identifier: MIT */
// What the fuzz targets share. Every text and buffer is a heap block of exactly its size, so that the address
// sanitizer sees the first byte read or written behind it.
#ifndef BOARDDIAG_FUZZ_SUPPORT_H
#define BOARDDIAG_FUZZ_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string_view>

#include <boarddiag.h>

/// The target: runs the code in question on one input, and releases all that it allocated.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace fuzz {

struct release {
    void operator()(char *text) const
    {
        free(text);
    }
};
using text_ptr = std::unique_ptr<char, release>;

/// A terminated copy; null for a null view.
text_ptr copy_of(std::string_view text);

/// Takes the text up to `separator` or the end; a null view when nothing is left.
std::string_view next_part(std::string_view *rest, char separator);

/// Takes one byte; 0 when nothing is left.
uint8_t next_byte(std::string_view *rest);

inline std::string_view input(const uint8_t *data, size_t size)
{
    return {reinterpret_cast<const char *>(data), size};
}

/// A broken promise is a finding.
inline void require(bool holds)
{
    if (!holds) {
        abort();
    }
}

/// The transaction that a client waits for.
inline constexpr uint32_t pending_transac_id = 7;

/// A bus broker client without threads that waits for one response.
struct client {
    tool_info tool{};

    client();
    ~client();
    client(const client &) = delete;
    client &operator=(const client &) = delete;
};

/// What was filed for the pending request, null when nothing was. Every byte that it announces is there.
const busbroker_rx_node *filed(const client &of);

} // namespace fuzz

#endif
