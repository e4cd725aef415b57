/* SPDX-License-Identifier: MIT */
#include <gtest/gtest.h>
#include <zlib.h>

#include <boarddiag.h>

#include "busbroker/failing_malloc.h"
#include "support/capture.h"

using diagtest::console_of;
using diagtest::error_line;

namespace {

/// A response as it travels; `stored` is what is left of the data when newlines and zeros are gone.
struct response {
    uint8_t tool_id = 3;
    uint32_t inst_id = 0x12345678, transac_id = 0xfedcba98;
    std::string dev_id = "cpu0", dev_name = "fpga";
    uint32_t req_prio = 2, req_type = 7;
    uint8_t transac_ind = 5;
    std::string data = "00000010,0001,08,1c,Success,1,5a", support = ",01,ff", stored = data;
    uint32_t wrong = 0;

    std::string frame() const
    {
        char part[80];
        std::string covered;
        auto cover = [&](const auto value) {
            covered.append(reinterpret_cast<const char *>(&value), sizeof value);
        };
        cover(tool_id), cover(inst_id), cover(transac_id), cover(uint8_t(dev_id.size())), covered += dev_id;
        cover(uint8_t(dev_name.size())), covered += dev_name, cover(req_prio), cover(req_type),
            cover(transac_ind);
        cover(uint16_t(stored.size())), cover(uint8_t(support.size())), covered += stored + support;
        const auto crc = crc32(0, reinterpret_cast<const Bytef *>(covered.data()), unsigned(covered.size()));
        snprintf(part, sizeof part, "RPS%02x%08x%08x%02zx", tool_id, inst_id, transac_id, dev_id.size());
        std::string text = part + dev_id;
        snprintf(part, sizeof part, "%02zx%s%08x%08x%02x%04zx%02zx", dev_name.size(), dev_name.c_str(),
                 req_prio, req_type, transac_ind, data.size(), support.size());
        text += part + data + support;
        snprintf(part, sizeof part, "%08x", static_cast<uint32_t>(crc) ^ wrong);
        return text + part + "RPE";
    }
};

struct client {
    tool_info tool = {};
    static inline std::vector<std::string> got; // the records that the completion handler was given

    client()
    {
        got.clear();
        tool.rx_complete = keep;
        tool.rx_stateinfo = &busbroker_rx_stateinfo;
        gettimeofday(&tool.last_step_time, nullptr);
    }
    ~client()
    {
        reset_sm(&tool, nullptr);
    }
    static std::string text(const busbroker_req_resp &r)
    {
        char numbers[120];
        snprintf(numbers, sizeof numbers, "%d %x %x %d %d %x %x %d %d %d ", r.tool_id, r.inst_id,
                 r.transac_id, r.dev_id_len, r.dev_name_len, r.req_prio, r.req_type, r.transac_ind,
                 r.data_len, r.support_data_len);
        return std::string(numbers) + r.dev_id + ' ' + r.dev_name + ' ' + r.data + ' ' + r.support_data;
    }
    static uint32_t keep(tool_info *, void *, busbroker_req_resp *record)
    {
        got.push_back(text(*record));
        return 0x77; // not consulted
    }
    uint32_t feed(const std::string &datagram)
    {
        memcpy(tool.rx_buf, datagram.data(), datagram.size());
        tool.rx_len = static_cast<uint32_t>(datagram.size());
        return busbroker_rx_state_machine(&tool, nullptr);
    }
    bool idle() const
    {
        return tool.rx_state == 0 && tool.rx_index == 0 && tool.field_count == 0 &&
               tool.rx_record == nullptr && tool.field_buf == nullptr;
    }
};

const std::string good_record =
    "3 12345678 fedcba98 4 4 2 7 5 32 6 cpu0 fpga 00000010,0001,08,1c,Success,1,5a ,01,ff";

TEST(Receive, FramesInOneDatagram)
{
    client c;
    EXPECT_EQ(c.feed(response{}.frame()), 0u);
    EXPECT_EQ(client::got, std::vector{good_record});
    EXPECT_TRUE(c.idle());
    const response plain = {.dev_id = "", .dev_name = "", .data = "", .support = ""};
    // R, R, P, S is no start: the second R is not looked at as a first one.
    c.feed("noiseRPx" + plain.frame() + "RRPS" + response{}.frame() + response{}.frame());
    EXPECT_EQ(client::got, (std::vector<std::string>{good_record, "3 12345678 fedcba98 0 0 2 7 5 0 0    ",
                                                     good_record, good_record}));
    EXPECT_TRUE(c.idle());
}

TEST(Receive, FrameSplitAnywhereIsTheSameFrame)
{
    const std::string frame = response{}.frame();
    client c;
    for (size_t first = 1; first < frame.size(); first++) {
        client::got.clear();
        c.feed(frame.substr(0, first));
        EXPECT_TRUE(client::got.empty());
        c.feed(frame.substr(first));
        EXPECT_EQ(client::got, std::vector{good_record}) << first;
    }
    client::got.clear();
    for (const char byte : frame) {
        c.feed(std::string(1, byte));
    }
    EXPECT_EQ(client::got, std::vector{good_record});
    EXPECT_TRUE(c.idle());
}

TEST(Receive, NewlinesAndZerosCountButAreNotStored)
{
    response r = {.data = "ab\ncd", .support = "", .stored = "abcd"};
    client c;
    c.feed(r.frame());
    r.data = std::string("\0\n12345678\n9abcdef\0g", 20);
    r.stored = "123456789abcdefg";
    const std::string frame = r.frame();
    c.feed(frame.substr(0, 60));
    c.feed(frame.substr(60));
    EXPECT_EQ(client::got,
              (std::vector<std::string>{"3 12345678 fedcba98 4 4 2 7 5 4 0 cpu0 fpga abcd ",
                                        "3 12345678 fedcba98 4 4 2 7 5 16 0 cpu0 fpga 123456789abcdefg "}));
    // A newline inside a number, too: 3 is read of "\n3".
    std::string odd = response{}.frame();
    odd.replace(3, 2, "\n3");
    c.feed(odd);
    EXPECT_EQ(client::got.back(), good_record);
}

TEST(Receive, FaultyFramesAreDiscardedAndTheNextIsRead)
{
    std::string bad_end = response{}.frame();
    bad_end.replace(bad_end.size() - 1, 1, "R"); // which is read again, as a start
    struct {
        std::string frame, told;
        bool read = false;
    } const cases[] = {
        {response{.req_prio = 3}.frame(), "Rx request priority = 0x3\nInvalid prority values \n"},
        {response{.req_type = 8}.frame(), "Invalid req type \n"},
        {response{.transac_ind = 6}.frame(), ""},
        {response{.tool_id = 23}.frame(), "Invalid tool id 23 received \n"},
        {response{.wrong = 1}.frame(), ""},
        {bad_end, ""},
        {response{.dev_id = std::string(33, 'i')}.frame(),
         "Device id length [33] exceeded max allowed dev id len [32]\n", true},
        {response{.dev_name = std::string(33, 'n')}.frame(),
         "dev_name_len = 33\nDevice name length [33] exceeded max allowed dev name len [32]\n", true},
    };
    for (const auto &test : cases) {
        client c;
        set_verb_level(2);
        const std::string told = console_of([&] { EXPECT_EQ(c.feed(test.frame), 0u); });
        EXPECT_NE(told.find(test.told), std::string::npos) << told;
        EXPECT_EQ(told.find("Invalid") == std::string::npos, test.told.find("Invalid") == std::string::npos)
            << told;
        EXPECT_EQ(client::got.size(), test.read ? 1u : 0u) << test.told;
        EXPECT_EQ(c.tool.rx_state, 0u) << test.told;
        EXPECT_EQ(c.tool.rx_record, nullptr) << test.told;
        set_verb_level(0);
        c.feed("." + response{}.frame());
        EXPECT_EQ(client::got.back(), good_record) << test.told;
    }
}

TEST(Receive, TellsEachField)
{
    client c;
    set_verb_level(3);
    std::string told = console_of([&] { c.feed(response{}.frame()); });
    for (size_t at; (at = told.find("Rx current state")) != std::string::npos;) {
        told.erase(at, told.find('\n', at) + 1 - at);
    }
    told.erase(told.find("Rx CRC"));
    EXPECT_EQ(told,
              "Rx tool id = 3\nRx instance id = 305419896\nRx transaction id = -19088744\nRx dev id len = 4\n"
              "dev_id = cpu0\ndev_name_len = 4\nRx dev name len = 4\ndev_name = fpga\n"
              "Rx request priority = 0x2\nRx request type = 0x7\ntransac indication = 0x5\n"
              "Rx total data length = 32\nRx support data length = 6\n"
              "Rx data = 00000010,0001,08,1c,Success,1,5a of len 32\nRx data = ,01,ff of len 6\n");
}

TEST(Receive, GapOfMoreThanThreeSecondsDropsTheFrame)
{
    const std::string frame = response{}.frame();
    client c;
    c.feed(frame.substr(0, 70));
    c.tool.last_step_time.tv_sec -= 2;
    c.feed(frame.substr(70));
    EXPECT_EQ(client::got.size(), 1u);
    c.feed(frame.substr(0, 70));
    c.tool.last_step_time.tv_sec -= 4;
    set_verb_level(3);
    EXPECT_NE(console_of([&] {
                  c.feed(frame.substr(70));
              }).find(" which is > sock rx timeout 3 Sec Resetting state Machine\n"),
              std::string::npos);
    set_verb_level(0);
    EXPECT_EQ(client::got.size(), 1u);
    EXPECT_TRUE(c.idle());
    c.tool.last_step_time = {}; // idle for long: the first step resets, the datagram is read all the same
    c.feed(frame);
    EXPECT_EQ(client::got.size(), 2u);
    timeval before = {};
    gettimeofday(&before, nullptr);
    EXPECT_EQ(update_time(&c.tool, nullptr), 1u);
    EXPECT_EQ(check_rxtime_diff(&c.tool, nullptr), 0);
    EXPECT_GE(get_time_diff(&c.tool.last_step_time, &before), 0);
    EXPECT_GE(get_time_diff(&c.tool.now_time, &c.tool.last_step_time), 0);
    const timeval earlier = {5, 900000}, later = {7, 100000};
    EXPECT_DOUBLE_EQ(get_time_diff(&later, &earlier), 1.2);
    EXPECT_EQ(console_of([&] { EXPECT_EQ(get_time_diff(nullptr, &earlier), 0.0); }),
              error_line("get_time_diff", "Null Pointer received as one of the times \n"));
}

TEST(Receive, EveryFailedAllocationDropsTheFrameOnly)
{
    const std::string prefix = "busbroker_req_resp_";
    const char *const functions[] = {"header_proc",       "header_proc",   "dev_id_len_proc", "dev_id_proc",
                                     "dev_name_len_proc", "dev_name_proc", nullptr,           nullptr,
                                     "support_data_copy"};
    const std::string frame = response{}.frame();
    int failing = 0;
    for (const char *function : functions) {
        client c;
        EXPECT_EQ(console_of([&] {
                      diagtest::good_allocations = failing++;
                      EXPECT_EQ(c.feed(frame), 0u);
                  }),
                  function == nullptr ? "" : error_line(prefix + function, "Mem alloc fail\n"));
        EXPECT_EQ(diagtest::good_allocations, -1);
        EXPECT_TRUE(client::got.empty());
        EXPECT_TRUE(c.idle()) << failing;
        c.feed("." + frame);
        EXPECT_EQ(client::got.size(), 1u);
    }
}

TEST(Receive, ResetReleasesTheFieldBufferOnceInEveryState)
{
    const std::string frame = response{}.frame();
    for (size_t length = 0; length < frame.size(); length++) {
        client c;
        c.feed(frame.substr(0, length));
        EXPECT_EQ(reset_sm(&c.tool, nullptr), 0u);
        EXPECT_TRUE(c.idle()) << length;
        EXPECT_EQ(std::string(c.tool.mark, 3), "RPS");
        EXPECT_EQ(c.tool.field_len, 3u);
    }
}

TEST(Receive, RefusesMisuse)
{
    client c;
    const std::string closing = "Error with the state machine info or the input event is invalid \n";
    auto told = [&] { return console_of([&] { EXPECT_EQ(c.feed("x"), DIAG_ERR_INVALID_ARG); }); };
    set_verb_level(1);
    for (uint32_t state : {17u, 65535u}) {
        c.tool.rx_state = state;
        EXPECT_EQ(told(), "Invalid state rx as current state\n" + closing);
        EXPECT_EQ(c.tool.rx_state, 65535u);
        EXPECT_EQ(c.tool.rx_index, 0u);
    }
    for (uint32_t state = 1; state < 17; state++) { // a state behind the mark without a frame gives it up
        c.tool.rx_state = state;
        EXPECT_EQ(c.feed("x"), 0u);
        EXPECT_TRUE(c.idle());
    }
    c.tool.rx_stateinfo = nullptr;
    EXPECT_EQ(told(), "NULL Ptr received as state table info \n");
    EXPECT_EQ(
        console_of([] { EXPECT_EQ(busbroker_rx_state_machine(nullptr, nullptr), DIAG_ERR_INVALID_ARG); }),
        error_line("busbroker_rx_state_machine", "NULL Ptr received as tool info\n"));
    free_req_memory(nullptr);
}

// A machine of letters: every function writes one into the context, and the argument tells the handler's
// result.
template <char letter, int result> uint32_t letter_step(void *context, void *argument)
{
    *static_cast<std::string *>(context) += letter;
    return result >= 0 ? static_cast<uint32_t>(result) : *static_cast<uint32_t *>(argument);
}

uint8_t hold(void *context, void *)
{
    *static_cast<std::string *>(context) += 'c';
    return 1;
}

TEST(StateEngine, WalksAnyTable)
{
    const state_event events[] = {{letter_step<'e', 2>, 3}, {nullptr, 4}};
    const state_event_table event_table = {events, 2};
    const state_row table[] = {
        {nullptr, nullptr, letter_step<'h', -1>, letter_step<'f', 0>, 3, 1, letter_step<'p', 0>},
        {nullptr, nullptr, nullptr, nullptr, 0, 2, nullptr},
        {nullptr, &event_table, letter_step<'h', -1>, nullptr, 0, 0, letter_step<'p', 0>},
        {hold, nullptr, letter_step<'h', -1>, nullptr, 0, 0, letter_step<'p', 0>},
        {nullptr, nullptr, letter_step<'h', -1>, nullptr, 2, 0, nullptr},
    };
    const state_info info = {table, 5}, empty = {nullptr, 5};
    struct {
        const state_info *info;
        uint32_t state, event, result, next, status;
        std::string steps, told;
    } const cases[] = {
        {&info, 0, 9, 0, 0, 0, "hp", ""},
        {&info, 0, 0, 1, 1, 0, "hp", ""},
        {&info, 0, 0, 2, 3, 0, "hfp", ""},
        {&info, 0, 0, 3, 0, 0, "hp", ""},
        {&info, 1, 0, 0, 2, 0, "", ""},
        {&info, 2, 0, 0, 3, 0, "ep", ""}, // the event's result is not consulted
        {&info, 2, 1, 0, 4, 0, "p", ""},
        {&info, 2, 2, 0, 65535, DIAG_ERR_INVALID_ARG, "p", "Current state doesn't have rx event 2\n"},
        {&info, 3, 0, 1, 3, 0, "cp", ""},
        {&info, 4, 0, 2, 2, 0, "h", ""},
        {&info, 5, 0, 0, 65535, DIAG_ERR_INVALID_ARG, "", "Invalid state rx as current state\n"},
        {&empty, 4, 0, 0, 65535, DIAG_ERR_INVALID_ARG, "", "State table pointer to set to NULL\n"},
        {nullptr, 0, 0, 0, 65535, DIAG_ERR_INVALID_ARG, "",
         "NULL pointer received as state table address \n"},
    };
    set_verb_level(1);
    for (const auto &test : cases) {
        uint32_t state = test.state, result = test.result;
        std::string steps;
        EXPECT_EQ(console_of([&] {
                      EXPECT_EQ(state_traversal(test.info, &state, test.event, &steps, &result), test.status);
                  }),
                  test.told);
        EXPECT_EQ(state, test.next) << test.state << test.told;
        EXPECT_EQ(steps, test.steps) << test.state << test.told;
    }
}

} // namespace
