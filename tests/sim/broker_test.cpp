/* SPDX-License-Identifier: MIT */
// The simulated bus broker, datagram by datagram.
#include "busbroker/loopback.h"
#include "support/sim_board.h"
#include "support/sim_broker.h"

struct bus_request {
    std::string dev_id = {}, dev_name = {};
    uint32_t type = 0;
    std::string data = {}, support = {};
    uint8_t indication = 5, tool_id = 3;
    uint32_t priority = 0, transac_id = 0;
};

std::string frame_of(bus_request r, bool is_response = false)
{
    busbroker_req_resp record = {};
    record.tool_id = r.tool_id;
    record.inst_id = 1;
    record.transac_id = r.transac_id;
    record.dev_id = r.dev_id.c_str();
    record.dev_name = r.dev_name.c_str();
    record.req_prio = r.priority;
    record.req_type = r.type;
    record.transac_ind = r.indication;
    record.data = r.data.data();
    record.support_data = r.support.data();
    return framed(record, is_response);
}

/// The response frame that answers a request with a data text.
std::string answer_of(bus_request r, const std::string &data)
{
    r.data = data;
    r.support.clear();
    return frame_of(r, true);
}

class SimBroker : public testing::Test {
  protected:
    const sim_board board;
    std::optional<sim_broker> broker;
    tool_info *client = new_client();

    void start(const std::vector<std::string> &options = {})
    {
        broker.reset();
        broker.emplace(options);
        client->sock_cfg.port = broker->port;
        close(client->sock_fd);
        create_socket(&client->sock_cfg, &client->sock_fd, 1);
    }
    void send_bytes(const std::string &bytes)
    {
        send(client->sock_fd, bytes.data(), bytes.size(), 0);
    }
    /// The next datagram.
    std::string receive()
    {
        receive_from_socket(client);
        return {reinterpret_cast<const char *>(client->rx_buf), client->rx_len};
    }
    std::string ask(const bus_request &r)
    {
        send_bytes(frame_of(r));
        return receive();
    }
};

constexpr char eeprom[] = "i2c-3-0x50";
using answer_case = std::pair<bus_request, std::string>;

TEST_F(SimBroker, AnswersEachTypeFromTheBoard)
{
    start({"--dyn-id=0x002b:cpu0-dyn"});
    const answer_case cases[] = {
        {{eeprom, "rom", 3, "00000040,0002,08,1c,aa,55"}, "00000040,0002,08,Success,"},
        {{eeprom, "rom", 2, "0000003f,0003,08,1c"}, "0000003f,0003,08,1c,Success,3,3faa55"},
        // Addressed without data: there or not, and nothing changes.
        {{eeprom, "rom", 3, "00000042,0001,08,1c,ff", ",01"}, "00000042,0001,08,Success,"},
        {{"i2c-3-0x60", "", 3, "00000042,0001,08,1c,ff", ",01"}, "00000042,0001,08,Failed"},
        {{eeprom, "rom", 2, "00000042,0001,08,10"}, "00000042,0001,08,10,Success,1,42"},
        {{eeprom, "rom", 2, "000000ff,0002,08,1c"}, "000000ff,0002,08,1c,Failed"},
        {{"eeprom", "rom", 2, "00000000,0001,08,1c"}, "00000000,0001,08,1c,No device"},
        {{"", "mem", 2, "80000000,0005,08,1c"}, "80000000,0005,08,1c,Success,5,424f415244"},
        {{"", "mem", 2, "00000000,7ff0,08,1c"}, "00000000,7ff0,08,1c,Too long"},
        {{"", "", 5, "002a,0007"}, "Success,dyn-002a-7"},
        {{"", "", 5, "002b,65535"}, "Success,cpu0-dyn"},
        {{"", "", 6, "01,11,22,33,10"}, "Success"},
        {{}, "Success"},
        {{"", "", 7, "", "", 0}, "Success"},
    };
    uint32_t id = 0xab;
    for (auto [request, answer] : cases) {
        request.transac_id = id++;
        EXPECT_EQ(ask(request), answer_of(request, answer)) << request.data;
    }
    const std::vector<std::string> log = board.commands();
    ASSERT_EQ(log.size(), std::size(cases));
    EXPECT_EQ(log[2], "broker 3 i2c-3-0x50 rom ind=5 00000042,0001,08,1c,ff support=,01");
    EXPECT_EQ(log.back(), "broker 7 - - ind=0");
    // A long answer comes in pieces that a client takes.
    const bus_request request = {"", "mem", 2, "00000000,1000,08,1c"};
    const std::string first = ask(request), second = receive(), third = receive();
    EXPECT_EQ(first.size(), 4096U);
    EXPECT_EQ(first + second + third,
              answer_of(request, request.data + ",Success,1000," + std::string(0x2000, '0')));
}

TEST_F(SimBroker, DropsAndCountsWhatIsNoGoodRequest)
{
    start();
    const std::string good = frame_of({"abc", "", 1});
    const auto changed = [&](size_t at, char to) { return std::string(good).replace(at, 1, 1, to); };
    const auto with = [](uint32_t type, const std::string &data) { return frame_of({"", "", type, data}); };
    const std::string upper = frame_of({.transac_id = 0xabc}).replace(18, 3, "ABC");
    const std::pair<const char *, std::vector<std::string>> cases[] = {
        {"bad shape",
         {"", good + "\n", good.substr(1), good.substr(0, 30), good + good, changed(62, 'P'),
          changed(21, 'f'), upper}},
        {"bad crc", {changed(20, '1')}},
        {"bad value",
         {frame_of({.tool_id = 23}), frame_of({.priority = 3}), frame_of({.type = 8}),
          frame_of({.indication = 6})}},
        {"bad data",
         {with(1, "x"), with(2, "00000010,0001,08,1c,"), with(3, "00000010,0002,08,1c,aa"),
          with(5, "002a,007"), with(6, "00,11,22,33,30"), with(6, "01,11,22,33,30,A1"),
          frame_of({.type = 1, .support = ",1"})}},
        {"good", {frame_of({.tool_id = 22})}},
    };
    for (const auto &[counter, frames] : cases) {
        std::ranges::for_each(frames, [this](const std::string &frame) { send_bytes(frame); });
    }
    EXPECT_EQ(receive(), answer_of({.tool_id = 22}, "Success"));
    auto counts = broker->stop();
    EXPECT_EQ(broker->status, 0);
    for (const auto &[counter, frames] : cases) {
        EXPECT_EQ(counts[counter], frames.size()) << counter;
    }
    EXPECT_EQ(board.commands().size(), 1U);
}

TEST_F(SimBroker, RefusesAsOftenAsItIsTold)
{
    start({"--refuse=1", "--refuse-type=5:1,6:2", "--refuse-word=Later", "--not-found"});
    const bus_request write = {eeprom, "", 3, "00000010,0001,08,1c,aa"};
    const bus_request name = {"", "", 5, "0001,0000"}, access = {"", "", 6, "01,00,00,00,10"};
    const answer_case cases[] = {
        {write, "00000010,0001,08,Later"},
        {write, "00000010,0001,08,Success,"},
        {name, "Later"},
        {name, "Success,dyn-0001-0"},
        {access, "Later"},
        {access, "Later"},
        {access, "Success"},
        {{}, "Req not found"},
    };
    for (const auto &[request, answer] : cases) {
        EXPECT_EQ(ask(request), answer_of(request, answer));
    }
    EXPECT_EQ(board.commands()[0], "broker 3 i2c-3-0x50 - ind=5 00000010,0001,08,1c,aa refused");
    auto counts = broker->stop();
    EXPECT_EQ(counts["refused"], 4U);
    EXPECT_EQ(counts["repeated"], 4U);
}

TEST_F(SimBroker, SpoilsAnswersAsItIsTold)
{
    const std::string plain = answer_of({}, "Success"), ack = answer_of({}, "Rx Ack");
    const std::pair<std::vector<std::string>, std::vector<std::string>> cases[] = {
        {{"--ack-first=100"}, {ack, plain}},
        {{"--ack-first=100", "--reorder=100"}, {plain, ack}},
        {{"--ack-first=100", "--join=100"}, {ack + plain}},
        {{"--double=100", "--delay=100:30"}, {plain, plain}},
        {{"--join=100"}, {plain}},
        {{"--reorder=100", "--late=10"}, {plain}},
    };
    for (const auto &[options, datagrams] : cases) {
        start(options);
        send_bytes(frame_of({}));
        for (const std::string &expected : datagrams) {
            EXPECT_EQ(receive(), expected) << options[0];
        }
    }
    start({"--split=100"});
    const std::string front = ask({}), rest = receive();
    EXPECT_LT(front.size(), plain.size());
    EXPECT_EQ(front + rest, plain);
}

TEST_F(SimBroker, TakesNoWrongCommandLine)
{
    for (const char *options : {"--ip=0.0.0.0", "--ip=192.0.2.1", "--port=65536", "--lose=101", "--delay=5",
                                "--refuse-type=8:1", "--dyn-id=2a:x", "--loose=5"}) {
        const run_result run = run_shell(std::string("timeout 10 boardsim broker ") + options);
        EXPECT_EQ(run.status, 2 << 8) << options;
        EXPECT_TRUE(run.err.ends_with("; see boardsim broker --help\n")) << run.err;
    }
}
