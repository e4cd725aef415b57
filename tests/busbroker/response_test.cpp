/* SPDX-License-Identifier: MIT */
// Response texts: what each becomes on the response queue.

#include "busbroker/loopback.h"

namespace {

constexpr uint8_t ok = BB_RESP_SUCCESS, ack = BB_RESP_ACK, failed = BB_RESP_FAILED,
                  format = BB_RESP_FORMAT_ERROR;
constexpr uint32_t invalid = DIAG_ERR_INVALID_ARG;
const std::string parser = "busbroker_parse_update_queues";
const std::string request_error = error_line(parser, "Invalid request data format\n");
const std::string format_trace = "Data format error in the rx response\n";
const std::string format_error = error_line(parser, format_trace);
const std::string unknown = error_line(parser, "Unknown request type received. Discarding the response\n");

struct row {
    uint32_t type;
    const char *data;
    uint32_t result;
    int status = 0; // filed bits, 0 when nothing is filed
    std::string bytes = "";
    std::string console = "";
};

} // namespace

TEST(Response, TextsBecomeStatusesAndBytes)
{
    const row rows[] = {
        {0, "Success", 0, ok},
        {0, "Req not found", 0, BB_RESP_NOT_FOUND},
        {6, "Req not found", 0, failed},
        {7, "Success", invalid, 0, "", unknown},
        {2, "00000010,0001,08,1c,Success,1,5a", 0, ok, "Z"},
        {2, ",,a,,b,c,,d,Success,,2,,4142", 0, ok, "AB"},
        {2, "a,b,c,d,Success,4,414243", 0, ok, "ABC"},
        {2, "a,b,c,d,Success,ffffffff,41424", 0, ok, "AB"},
        {2, "a,b,c,d,Success,1,4", 0, ok},
        {2, "a,b,c,d,Success,1,,", 0, format, "", format_error},
        {2, "a,b,c,d,Success", 0, format, "", format_trace},
        {2, "a,b,c,d,Rx Ack", 0, ack},
        {3, "00000010,0001,08,Success,", 0, ok},
        {3, "00000010,0001,08,Busy", 0, failed},
        {3, "a,b,c,Success,d", 0, ok},
        {3, "a,b,c,Success,d,e", 0, format, "", format_error},
        {3, "a,b,c,Success", 0, format, "", format_trace},
        {3, "a,b,c,,", invalid},
        {3, "a,b,", invalid, 0, "", request_error},
        {3, ",", invalid, 0, "", request_error},
        {5, "Success,cpu0-dyn", 0, ok, "cpu0-dyn"},
        {5, ",,Success,,a b,c", 0, ok, "a b"},
        {5, "Success,", invalid},
        {5, "Busy,cpu0", invalid},
    };
    for (const row &expected : rows) {
        SCOPED_TRACE(std::to_string(expected.type) + " " + expected.data);
        tool_info *tool = new_client();
        queue_tx_buf(tool, strdup("frame"), 5, 0, 0, 7);
        std::string data = expected.data, bytes;
        busbroker_req_resp response{};
        response.transac_id = 7;
        response.req_type = expected.type;
        response.data = data.data();
        EXPECT_EQ(
            told(expected.result, [&] { return busbroker_parse_update_queues(tool, nullptr, &response); }),
            expected.console);
        const busbroker_rx_node *node = tool->rx_queue;
        EXPECT_EQ(node != nullptr ? node->status : 0, expected.status);
        if (node != nullptr) {
            EXPECT_EQ(std::string(reinterpret_cast<const char *>(node->data), node->length), expected.bytes);
        }
        deque_tool_response(tool, 7);
        deque_tool_request(tool, 7);
        close(tool->sock_fd);
    }
}
