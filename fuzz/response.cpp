/* SPDX-License-Identifier: MIT */
// What responses say: a line each, the request type as a digit and the data text. All answer one request.
#include "support.h"

void try_input(std::string_view rest)
{
    client client;

    while (!rest.empty()) {
        std::string_view line = next_part(&rest, '\n');
        busbroker_req_resp response{};
        response.transac_id = pending_transac_id;
        response.req_type = static_cast<uint32_t>(next_byte(&line) - '0');
        const text_ptr text = copy_of(line);
        response.data = line.empty() ? nullptr : text.get();
        const uint32_t status = busbroker_parse_update_queues(&client.tool, nullptr, &response);
        require(status == 0 || status == DIAG_ERR_INVALID_ARG);
        require(status != 0 || client.filed() != nullptr);
    }
}
