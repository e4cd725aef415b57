/* SPDX-License-Identifier: MIT */
#include "support.h"

#include <cstdio>
#include <cstring>
#include <sanitizer/asan_interface.h>
#include <syslog.h>

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

int LLVMFuzzerInitialize(int *argc, char ***argv);

int LLVMFuzzerInitialize(int *, char ***)
{
    fuzz::require(freopen("/dev/null", "w", stdout) != nullptr);
    set_verb_level(-1);
    set_log_level(-1);
    return 0;
}

} // extern "C"

fuzz::text_ptr fuzz::copy_of(std::string_view text)
{
    return text_ptr(text.data() != nullptr ? strndup(text.data(), text.size()) : nullptr);
}

std::string_view fuzz::next_part(std::string_view *rest, char separator)
{
    const size_t length = rest->find(separator);
    const std::string_view part = rest->substr(0, length);

    *rest = length != std::string_view::npos ? rest->substr(length + 1) : std::string_view();
    return part;
}

uint8_t fuzz::next_byte(std::string_view *rest)
{
    if (rest->empty()) {
        return 0;
    }
    const auto byte = static_cast<uint8_t>(rest->front());
    rest->remove_prefix(1);
    return byte;
}

fuzz::client::client()
{
    pthread_mutex_init(&tool.tx_mutex, nullptr);
    pthread_mutex_init(&tool.rx_mutex, nullptr);
    require(queue_tx_buf(&tool, strdup("frame"), 5, 0, 0, pending_transac_id) == 0);
}

fuzz::client::~client()
{
    reset_sm(&tool, nullptr);
    deque_tool_response(&tool, pending_transac_id);
    deque_tool_request(&tool, pending_transac_id);
}

const busbroker_rx_node *fuzz::filed(const client &of)
{
    busbroker_rx_node *node = of.tool.rx_queue;

    if (node != nullptr) {
        require(node->transac_id == pending_transac_id && node->next == nullptr);
        require(__asan_region_is_poisoned(node->data, node->length) == nullptr);
        require((node->data != nullptr) || node->length == 0);
    }
    return node;
}
