/* SPDX-License-Identifier: MIT */
// Response texts: what each becomes on the response queue.
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>

#include <boarddiag.h>

#include "busbroker/failing_alloc.h"
#include "busbroker/loopback.h"
#include "support/capture.h"

namespace {

constexpr uint32_t invalid = DIAG_ERR_INVALID_ARG;
constexpr uint32_t no_memory = DIAG_ERR_NO_MEMORY;
constexpr uint8_t none = 0, ok = BB_RESP_SUCCESS, ack = BB_RESP_ACK, bad = BB_RESP_FAILED,
                  format = BB_RESP_FORMAT_ERROR;

enum message { silent, request_format, data_format, data_format_0, alloc, alloc_node, unknown };

std::string text_of(message told)
{
    static const char *const texts[] = {"",
                                        "Invalid request data format\n",
                                        "Data format error in the rx response\n",
                                        "Data format error in the rx response\n",
                                        "Mem alloc error\n",
                                        "Mem alloc error \n",
                                        "Unknown request type received. Discarding the response\n"};
    if (told == silent || told == data_format_0) {
        return texts[told];
    }
    return diagtest::error_line(told == alloc_node ? "enqueue_rx_queues" : "busbroker_parse_update_queues",
                                texts[told]);
}

struct row {
    uint32_t type;
    const char *data;
    uint32_t result;
    uint8_t status; // filed bits, 0 when nothing is filed
    std::string bytes;
    message told = silent;
    int failing = 0; // which allocation fails
};

void check(const row &expected)
{
    SCOPED_TRACE(std::to_string(expected.type) + " " + expected.data);
    tool_info *tool = diagtest::new_client();
    ASSERT_EQ(queue_tx_buf(tool, strdup("frame"), 5, 0, 0, 7), 0u);
    std::string data = expected.data;
    busbroker_req_resp response{};
    response.transac_id = 7;
    response.req_type = expected.type;
    response.data = data.data();
    const std::string console = diagtest::console_of([&] {
        diagtest::fail_allocation(expected.failing);
        EXPECT_EQ(busbroker_parse_update_queues(tool, nullptr, &response), expected.result);
        diagtest::fail_allocation(0);
    });
    EXPECT_EQ(console, text_of(expected.told));
    EXPECT_EQ(data, expected.data);
    const busbroker_rx_node *node = tool->rx_queue;
    EXPECT_EQ(node != nullptr ? node->status : 0, expected.status);
    if (node != nullptr) {
        EXPECT_EQ(node->length, expected.bytes.size());
        EXPECT_EQ(std::string(reinterpret_cast<const char *>(node->data), node->length), expected.bytes);
        deque_tool_response(tool, 7);
    }
    deque_tool_request(tool, 7);
}

} // namespace

TEST(Response, Texts)
{
    static const row rows[] = {
        {0, "Success", 0, ok, ""},
        {1, "Rx Ack", 0, ack, ""},
        {0, "Req not found", 0, BB_RESP_NOT_FOUND, ""},
        {6, "Req not found", 0, bad, ""},
        {4, "Success,", 0, bad, ""},
        {0, "", 0, bad, ""},
        {7, "Success", invalid, none, "", unknown},
        {0xffffffff, "Success", invalid, none, "", unknown},

        {2, "00000010,0001,08,1c,Success,1,5a", 0, ok, "Z"},
        {2, ",,a,,b,c,,d,Success,,2,,4142", 0, ok, "AB"},
        {2, "a,b,c,d,Success,4,414243", 0, ok, "ABC"},
        {2, "a,b,c,d,Success,2,4142434", 0, ok, "AB"},
        {2, "a,b,c,d,Success,ffffffff,41424", 0, ok, "AB"},
        {2, "a,b,c,d,Success,0,41", 0, ok, ""},
        {2, "a,b,c,d,Success,1,4", 0, ok, ""},
        {2, "a,b,c,d,Success,2,4 x5", 0, ok, "\x04\x05"},
        {2, "a,b,c,d,Success,1", 0, format, "", data_format},
        {2, "a,b,c,d,Success,1,,", 0, format, "", data_format},
        {2, "a,b,c,d,Success,,", 0, format, "", data_format_0},
        {2, "a,b,c,d,Success", 0, format, "", data_format_0},
        {2, "a,b,c,d,Rx Ack", 0, ack, ""},
        {2, "a,b,c,Success,1,5a", 0, bad, ""},
        {2, "a,b,c,d,", invalid, none, ""},
        {2, "a,b,c,d", invalid, none, ""},

        {3, "00000010,0001,08,Success,", 0, ok, ""},
        {3, "00000010,0001,08,Busy", 0, bad, ""},
        {3, "a,b,c,Success,,", 0, ok, ""},
        {3, "a,b,c,Success,d", 0, ok, ""},
        {3, "a,b,c,Success,d,e", 0, format, "", data_format},
        {3, "a,b,c,Success", 0, format, "", data_format_0},
        {3, "a,b,c,Rx Ack,1", 0, ack, ""},
        {3, "a,b,c,,", invalid, none, ""},
        {3, "a,b,c", invalid, none, ""},
        {3, "a,b,", invalid, none, "", request_format},
        {3, "a,b", invalid, none, "", request_format},
        {3, "a,", invalid, none, "", request_format},
        {3, ",", invalid, none, "", request_format},
        {3, "Success", invalid, none, ""},
        {3, "", invalid, none, ""},

        {5, "Success,cpu0-dyn", 0, ok, "cpu0-dyn"},
        {5, ",,Success,,a b,c", 0, ok, "a b"},
        {5, "Success,", invalid, none, ""},
        {5, "Busy,cpu0", invalid, none, ""},
        {5, "", invalid, none, ""},
    };
    for (const row &expected : rows) {
        check(expected);
    }
    EXPECT_EQ(busbroker_parse_update_queues(diagtest::new_client(), nullptr, nullptr), invalid);
}

TEST(Response, WithoutMemory)
{
    static const row rows[] = {
        {2, "a,b,c,d,Success,1,5a", no_memory, none, "", alloc, 1}, // the working copy
        {2, "a,b,c,d,Success,1,5a", no_memory, none, "", alloc, 2}, // the bytes
        {2, "a,b,c,d,Success,1,5a", no_memory, none, "", alloc_node, 3},
        {5, "Success,id", no_memory, none, "", alloc, 1},
        {5, "Success,id", invalid, none, "", alloc, 2},
        {5, "Success,id", no_memory, none, "", alloc_node, 3},
        {6, "Success", no_memory, none, "", alloc_node, 1},
    };
    for (const row &expected : rows) {
        check(expected);
    }
}
