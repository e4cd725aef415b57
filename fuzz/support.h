/* SPDX-License-Identifier: MIT */
// What the fuzz targets share, of which each is one file. Every text and buffer is a heap block of exactly
// its size, so that the address sanitizer sees the first byte read or written behind it.
#ifndef BOARDDIAG_FUZZ_SUPPORT_H
#define BOARDDIAG_FUZZ_SUPPORT_H

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sanitizer/asan_interface.h>
#include <string_view>
#include <syslog.h>
#include <vector>

#include <boarddiag.h>

/// The target: runs the code in question on one input, and releases all that it allocated.
void try_input(std::string_view input);

/// A broken promise is a finding.
inline void require(bool holds)
{
    if (!holds) {
        abort();
    }
}

using text_ptr = std::unique_ptr<char, decltype([](char *text) { free(text); })>;

/// A terminated copy; null for a null view.
inline text_ptr copy_of(std::string_view text)
{
    return text_ptr(text.data() != nullptr ? strndup(text.data(), text.size()) : nullptr);
}

/// Takes the text up to `separator` or the end; a null view when nothing is left.
inline std::string_view next_part(std::string_view *rest, char separator)
{
    const size_t length = rest->find(separator);
    const std::string_view part = rest->substr(0, length);

    *rest = length != std::string_view::npos ? rest->substr(length + 1) : std::string_view();
    return part;
}

/// Takes one byte; 0 when nothing is left.
inline uint8_t next_byte(std::string_view *rest)
{
    const auto byte = rest->empty() ? uint8_t{0} : static_cast<uint8_t>(rest->front());

    rest->remove_prefix(rest->empty() ? 0 : 1);
    return byte;
}

/// The transaction that a client waits for.
inline constexpr uint32_t pending_transac_id = 7;

/// A bus broker client without threads that waits for one response.
struct client {
    tool_info tool{};

    client()
    {
        pthread_mutex_init(&tool.tx_mutex, nullptr);
        pthread_mutex_init(&tool.rx_mutex, nullptr);
        require(queue_tx_buf(&tool, strdup("frame"), 5, 0, 0, pending_transac_id) == 0);
    }
    ~client()
    {
        reset_sm(&tool, nullptr);
        deque_tool_response(&tool, pending_transac_id);
        deque_tool_request(&tool, pending_transac_id);
    }
    client(const client &) = delete;
    client &operator=(const client &) = delete;

    /// What was filed for the pending request, null when nothing was. Every byte that it announces is there.
    [[nodiscard]] const busbroker_rx_node *filed() const
    {
        busbroker_rx_node *node = tool.rx_queue;
        if (node != nullptr) {
            require(node->transac_id == pending_transac_id && node->next == nullptr);
            require(__asan_region_is_poisoned(node->data, node->length) == nullptr);
            require((node->data != nullptr) || node->length == 0);
        }
        return node;
    }
};

extern "C" {

// In place of the C library's: nothing that a target does reaches the machine's log.
void openlog(const char *, int, int)
{
}
void syslog(int, const char *, ...)
{
}
void closelog(void)
{
}

int LLVMFuzzerInitialize(int *, char ***);
int LLVMFuzzerInitialize(int *, char ***)
{
    require(freopen("/dev/null", "w", stdout) != nullptr);
    set_verb_level(-1);
    set_log_level(-1);
    return 0;
}

int LLVMFuzzerTestOneInput(const uint8_t *, size_t);
int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    try_input({reinterpret_cast<const char *>(data), size});
    return 0;
}

} // extern "C"

#endif
