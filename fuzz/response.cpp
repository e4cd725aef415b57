/* SPDX-License-Identifier: MIT */
// What responses say: a line each, the request type as a digit and the data text. All answer one request.
#include "support.h"

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string_view rest = fuzz::input(data, size);
    fuzz::client client;

    while (!rest.empty()) {
        std::string_view line = fuzz::next_part(&rest, '\n');
        busbroker_req_resp response{};
        response.transac_id = fuzz::pending_transac_id;
        response.req_type = static_cast<uint32_t>(fuzz::next_byte(&line) - '0');
        const fuzz::text_ptr text = fuzz::copy_of(line);
        response.data = line.empty() ? nullptr : text.get();
        const uint32_t status = busbroker_parse_update_queues(&client.tool, nullptr, &response);
        fuzz::require(status == 0 || status == DIAG_ERR_INVALID_ARG);
        fuzz::require(status != 0 || client.filed() != nullptr);
    }
    return 0;
}
