/* SPDX-License-Identifier: MIT */
// What a response says: its data text becomes a status and bytes on the response queue.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "busbroker/queues.h"
#include "core/reason.h"
#include "core/report.h"

namespace {

constexpr const char function[] = "busbroker_parse_update_queues";
constexpr const char alloc_message[] = "Mem alloc error\n";
constexpr const char format_message[] = "Data format error in the rx response\n";
constexpr const char success_word[] = "Success";
constexpr const char ack_word[] = "Rx Ack";
constexpr const char not_found_word[] = "Req not found";

bool equal(const char *one, const char *other)
{
    return strcmp(one, other) == 0;
}

uint32_t file_success(tool_info *tool, const busbroker_req_resp *response, uint8_t *data, uint32_t length)
{
    return boarddiag::file_answer(tool, BB_RESP_SUCCESS, response->transac_id, data, length, success_word);
}

uint32_t file(tool_info *tool, const busbroker_req_resp *response, uint8_t status, const char *word)
{
    return boarddiag::file_answer(tool, status, response->transac_id, nullptr, 0, word);
}

const char *data_of(const busbroker_req_resp *response)
{
    return response->data != nullptr ? response->data : "";
}

[[gnu::cold]] uint32_t refuse(const busbroker_req_resp *response)
{
    boarddiag::set_reason("a response of type %u cannot be read: '%s'", response->req_type,
                          data_of(response));
    return DIAG_ERR_INVALID_ARG;
}

// ---- Tokens: separated by commas, a run of which counts as one; leading ones are skipped. ----

struct token_reader {
    char *at;   // the next token, or the text's end
    bool comma; // the token read last was followed by a comma
};

char *next_token(token_reader *reader)
{
    char *token = reader->at + strspn(reader->at, ",");
    char *end = token + strcspn(token, ",");

    reader->comma = *end == ',';
    reader->at = end + strspn(end, ",");
    *end = '\0';
    return *token != '\0' ? token : nullptr;
}

bool at_end(const token_reader &reader)
{
    return *reader.at == '\0';
}

// A copy on the heap; null, and told, without memory.
char *copy_text(const char *text)
{
    const size_t size = strlen(text) + 1;
    auto *copy = static_cast<char *>(malloc(size));

    if (copy == nullptr) {
        REPORT_ERROR(function, alloc_message);
        return nullptr;
    }
    memcpy(copy, text, size);
    return copy;
}

// ---- Types 0, 1, 4 and 6: the whole text is the status word. ----

uint8_t word_status(const busbroker_req_resp *response)
{
    const char *word = data_of(response);

    if (equal(word, ack_word)) {
        return BB_RESP_ACK;
    }
    if (equal(word, success_word)) {
        return BB_RESP_SUCCESS;
    }
    return response->req_type == 0 && equal(word, not_found_word) ? BB_RESP_NOT_FOUND : BB_RESP_FAILED;
}

uint32_t parse_status(tool_info *tool, const busbroker_req_resp *response)
{
    return file(tool, response, word_status(response), data_of(response));
}

// ---- Types 2 and 3: leading tokens of the request, the status word, and what an access brought. ----

bool skip_request_tokens(token_reader *reader, uint32_t count)
{
    for (uint32_t number = 1; number <= count; number++) {
        const bool present = next_token(reader) != nullptr && reader->comma;
        if (present && (number != 2 || !at_end(*reader))) {
            continue;
        }
        if (number <= 2) { // without its comma, the first token leaves the second one missing
            REPORT_ERROR(function, "Invalid request data format\n");
        }
        return false;
    }
    return true;
}

uint32_t file_format_error(tool_info *tool, const busbroker_req_resp *response)
{
    REPORT_ERROR(function, format_message);
    return file(tool, response, BB_RESP_FORMAT_ERROR, data_of(response));
}

void convert_pairs(const char *digits, uint8_t *bytes, size_t count)
{
    for (size_t i = 0; i < count; i++) {
        const char pair[] = {digits[2 * i], digits[2 * i + 1], '\0'};
        bytes[i] = static_cast<uint8_t>(atoh(pair));
    }
}

// Memory is taken for the pairs that really came, whatever count the text announces.
uint32_t file_digits(tool_info *tool, const busbroker_req_resp *response, const char *count_text,
                     const char *digits)
{
    const size_t count = std::min<size_t>(atoh(count_text), strlen(digits) / 2);
    uint8_t *bytes = nullptr;

    if (count != 0) {
        bytes = static_cast<uint8_t *>(malloc(count));
        if (bytes == nullptr) {
            REPORT_ERROR(function, alloc_message);
            return DIAG_ERR_NO_MEMORY;
        }
        convert_pairs(digits, bytes, count);
    }
    return file_success(tool, response, bytes, static_cast<uint32_t>(count));
}

uint32_t parse_access_result(tool_info *tool, const busbroker_req_resp *response, token_reader *reader)
{
    const bool is_write = response->req_type == BB_REQ_WRITE;
    const bool ended = at_end(*reader);

    if (ended && is_write && reader->comma) {
        return file_success(tool, response, nullptr, 0);
    }
    if (ended) {
        diag_print(0, format_message);
        return file(tool, response, BB_RESP_FORMAT_ERROR, data_of(response));
    }
    const char *token = next_token(reader);
    if (is_write) {
        return reader->comma ? file_format_error(tool, response) : file_success(tool, response, nullptr, 0);
    }
    return at_end(*reader) ? file_format_error(tool, response)
                           : file_digits(tool, response, token, reader->at);
}

uint32_t parse_access_text(tool_info *tool, const busbroker_req_resp *response, char *text)
{
    token_reader reader{text, false};

    if (strchr(text, ',') == nullptr ||
        !skip_request_tokens(&reader, response->req_type == BB_REQ_WRITE ? 3 : 4)) {
        return refuse(response);
    }
    const char *word = next_token(&reader);
    if (word == nullptr) {
        return refuse(response);
    }
    if (equal(word, success_word)) {
        return parse_access_result(tool, response, &reader);
    }
    return file(tool, response, equal(word, ack_word) ? BB_RESP_ACK : BB_RESP_FAILED, word);
}

// ---- Type 5: "Success" and an identifier. ----

uint32_t parse_identifier_text(tool_info *tool, const busbroker_req_resp *response, char *text)
{
    token_reader reader{text, false};
    const char *word = next_token(&reader);
    const char *identifier = word != nullptr && equal(word, success_word) ? next_token(&reader) : nullptr;

    if (identifier == nullptr) {
        return refuse(response);
    }
    char *copy = copy_text(identifier);
    if (copy == nullptr) {
        return DIAG_ERR_INVALID_ARG;
    }
    return file_success(tool, response, reinterpret_cast<uint8_t *>(copy),
                        static_cast<uint32_t>(strlen(copy)));
}

// ---- By request type ----

// Reading cuts the text into its tokens, so it works on a copy.
template <uint32_t parse(tool_info *, const busbroker_req_resp *, char *)>
uint32_t parse_copy(tool_info *tool, const busbroker_req_resp *response)
{
    char *copy = copy_text(data_of(response));
    const uint32_t status = copy != nullptr ? parse(tool, response, copy) : DIAG_ERR_NO_MEMORY;

    free(copy);
    return status;
}

using parse_fn = uint32_t (*)(tool_info *tool, const busbroker_req_resp *response);
constexpr std::array<parse_fn, 7> parsers = {
    parse_status,
    parse_status,
    parse_copy<parse_access_text>,
    parse_copy<parse_access_text>,
    parse_status,
    parse_copy<parse_identifier_text>,
    parse_status,
};

} // namespace

uint32_t busbroker_parse_update_queues(struct tool_info *tool, void *, struct busbroker_req_resp *response)
{
    if (tool == nullptr || response == nullptr) {
        REPORT_ERROR(__func__, "Null pointer rx to parse the data \n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (response->req_type >= parsers.size()) {
        REPORT_ERROR(__func__, "Unknown request type received. Discarding the response\n");
        return DIAG_ERR_INVALID_ARG;
    }
    return parsers[response->req_type](tool, response);
}
