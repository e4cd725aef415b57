/* SPDX-License-Identifier: MIT */

#include "support/framed.h"

namespace {

/// A record, which a test may change, framed between the marks of a response.
template <typename Change> std::string frame_with(Change change)
{
    char data[] = "00000010,0001,08,1c,Success,1,5a", support[] = ",01,ff";
    busbroker_req_resp r = {};
    r.tool_id = 3;
    r.inst_id = 0x12345678;
    r.transac_id = 0xfedcba98;
    r.dev_id = "cpu0";
    r.dev_name = "fpga";
    r.req_prio = 2;
    r.req_type = 7;
    r.transac_ind = 5;
    r.data = data;
    r.support_data = support;
    change(r);
    return framed(r, true);
}

std::string frame()
{
    return frame_with([](auto &) {});
}

struct client {
    tool_info tool = {};
    static inline std::vector<std::string> got; // the records that were delivered, framed again
    static inline timeval delivered;            // when the last one was

    client()
    {
        got.clear();
        tool.rx_complete = [](tool_info *, void *, busbroker_req_resp *record) {
            got.push_back(frame_with([record](auto &r) { r = *record; }));
            gettimeofday(&delivered, nullptr);
            return 0x77u; // not consulted
        };
        tool.rx_stateinfo = &busbroker_rx_stateinfo;
        gettimeofday(&tool.last_step_time, nullptr);
    }
    ~client()
    {
        reset_sm(&tool, nullptr);
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

TEST(Receive, FramesInOneDatagram)
{
    // Written by hand, so that it shows what the reader and the writer would have in common.
    const std::string example =
        "RPS03000000010000000704cpu004fpga00000000000000020500130000000010,0001,08,1ca395f48cRPE";
    const std::string plain = frame_with([](auto &r) {
        r.dev_id = r.dev_name = "";
        r.data[0] = r.support_data[0] = '\0';
    });
    client c;
    EXPECT_EQ(c.feed(example), 0u);
    EXPECT_EQ(client::got, std::vector{example});
    EXPECT_TRUE(c.idle());
    // R, R, P, S is no start: the second R is not looked at as a first one.
    c.feed("noiseRPx" + plain + "R" + example + frame());
    EXPECT_EQ(client::got, (std::vector{example, plain, frame()}));
    EXPECT_TRUE(c.idle());
}

TEST(Receive, FrameSplitAnywhereIsTheSameFrame)
{
    client c;
    for (size_t first = 1; first < frame().size(); first++) {
        client::got.clear();
        c.feed(frame().substr(0, first));
        c.feed(frame().substr(first));
        EXPECT_EQ(client::got, std::vector{frame()}) << first;
    }
    EXPECT_TRUE(c.idle());
}

TEST(Receive, NewlinesAndZerosCountButAreNotStored)
{
    client c;
    for (const size_t split : {20u, 60u, 65u}) {
        const std::string stored = frame_with([](auto &r) { strcpy(r.data, "123456789abcdefg"); });
        std::string sent = stored; // 20 characters of data, with the checksum of the 16 that are stored
        sent.replace(sent.find("001006"), 6, "001406");
        sent.replace(sent.find("123456789"), 16, std::string("\0\n12345678\n9abcdefg\0", 20));
        sent.replace(3, 2, "\n3");
        c.feed(sent.substr(0, split));
        c.feed(sent.substr(split));
        EXPECT_EQ(client::got, std::vector{stored}) << split;
        client::got.clear();
    }
}

TEST(Receive, FieldIsCollectedUntilItsLengthIsReached)
{
    client c;
    c.tool.field_buf = static_cast<char *>(calloc(1, 4));
    c.tool.field_len = 3;
    memcpy(c.tool.rx_buf, "a\nbc", c.tool.rx_len = 4);
    EXPECT_EQ(busbroker_rx_complt_curnt_state_data(&c.tool), 1u);
    EXPECT_STREQ(c.tool.field_buf, "ab");
    EXPECT_EQ(c.tool.rx_index, 3u);
}

TEST(Receive, FaultyFramesAreDiscardedAndTheNextIsRead)
{
    std::string bad_end = frame();
    bad_end.replace(bad_end.size() - 1, 1, "R"); // which is read again, as a start
    const std::string long_text(33, 't');
    // What is sent, what of it is told, and the frames read of it.
    const std::tuple<std::string, std::string, size_t> cases[] = {
        {frame_with([&](auto &r) { r.req_prio = 3; }), "Rx request priority = 0x3\nInvalid prority values \n",
         0},
        {frame_with([&](auto &r) { r.req_type = 8; }), "Invalid req type \n", 0},
        {frame_with([&](auto &r) { r.transac_ind = 6; }), "", 0},
        {frame_with([&](auto &r) { r.tool_id = 23; }), "Invalid tool id 23 received \n", 0},
        {frame_with([](auto &r) { r.crc = 1; }), "", 0},
        {bad_end, "", 0},
        {frame_with([&](auto &r) { r.dev_id = long_text.c_str(); }),
         "Device id length [33] exceeded max allowed dev id len [32]\n", 1},
        {frame_with([&](auto &r) { r.dev_name = long_text.c_str(); }),
         "dev_name_len = 33\nDevice name length [33] exceeded max allowed dev name len [32]\n", 1},
    };
    for (const auto &[sent, words, read] : cases) {
        client c;
        set_verb_level(2);
        const std::string all = told(0, [&, &sent = sent] { return c.feed(sent); });
        EXPECT_NE(all.find(words), std::string::npos) << all;
        EXPECT_EQ(all.find("Invalid") == all.npos, words.find("Invalid") == all.npos) << all;
        EXPECT_EQ(client::got.size(), read) << words;
        set_verb_level(0);
        c.feed("." + frame());
        EXPECT_EQ(client::got.back(), frame()) << words;
    }
}

TEST(Receive, TellsEachField)
{
    client c;
    const std::string sent =
        frame_with([](auto &r) { r.dev_id = "c\x1b[2", r.dev_name = "a name of more than 32 characters"; });
    set_verb_level(3);
    std::string told = console_of([&] { c.feed(sent); });
    for (size_t at; (at = told.find("Rx current state")) != std::string::npos;) {
        told.erase(at, told.find('\n', at) + 1 - at);
    }
    EXPECT_EQ(told.substr(0, told.find("Calculated length")), // of the frame that the test makes again
              "Rx tool id = 3\nRx instance id = 305419896\nRx transaction id = -19088744\nRx dev id len = 4\n"
              "dev_id = c\\x1b[2\ndev_name_len = 33\n"
              "Device name length [33] exceeded max allowed dev name len [32]\n"
              "dev_name = a name of more than 32 characters\nRx request priority = 0x2\n"
              "Rx request type = 0x7\ntransac indication = 0x5\n"
              "Rx total data length = 32\nRx support data length = 6\n"
              "Rx data = 00000010,0001,08,1c,Success,1,5a of len 32\nRx data = ,01,ff of len 6\n"
              "Rx CRC = 0xb10815b3\nReq rx on socket id 33 has exceeded max allowed dev len 32\n"
              "Calculated CRC =0xb10815b3\nCRC Validation success,pushing the req to queues\n");
}

TEST(Receive, GapOfMoreThanThreeSecondsDropsTheFrame)
{
    client c;
    c.feed(frame().substr(0, 70));
    c.tool.last_step_time.tv_sec -= 2;
    c.feed(frame().substr(70));
    EXPECT_EQ(client::got.size(), 1u);
    EXPECT_GE(get_time_diff(&c.tool.last_step_time, &client::delivered), 0) << "the gap counts from the end";
    c.feed(frame().substr(0, 70));
    c.tool.last_step_time.tv_sec -= 4;
    set_verb_level(3);
    EXPECT_NE(console_of([&] {
                  c.feed(frame().substr(70));
              }).find(" which is > sock rx timeout 3 Sec Resetting state Machine\n"),
              std::string::npos);
    set_verb_level(0);
    c.feed(frame().substr(0, 70));
    c.tool.last_step_time.tv_sec += 100; // the clock was set back
    c.feed(frame().substr(70));
    EXPECT_EQ(client::got.size(), 1u);
    EXPECT_TRUE(c.idle());
    c.tool.last_step_time = {}; // idle for long: the first step resets, the datagram is read all the same
    c.feed(frame());
    EXPECT_EQ(client::got.size(), 2u);
    const timeval earlier = {5, 900000}, later = {7, 100000};
    EXPECT_DOUBLE_EQ(get_time_diff(&later, &earlier), 1.2);
    EXPECT_EQ(console_of([&] { EXPECT_EQ(get_time_diff(nullptr, &earlier), 0.0); }),
              error_line("get_time_diff", "Null Pointer received as one of the times \n"));
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
        const auto walk = [&] { return state_traversal(test.info, &state, test.event, &steps, &result); };
        EXPECT_EQ(told(test.status, walk), test.told);
        EXPECT_EQ(state, test.next) << test.state << test.told;
        EXPECT_EQ(steps, test.steps) << test.state << test.told;
    }
}

} // namespace
