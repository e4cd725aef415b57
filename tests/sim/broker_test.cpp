/* SPDX-License-Identifier: MIT */
// The simulated bus broker, datagram by datagram.
#include "busbroker/loopback.h"
#include "support/sim_board.h"
#include "support/sim_broker.h"

using namespace diagtest;

namespace {

struct bus_request {
    uint32_t transac_id = 0;
    std::string dev_id = {};
    std::string dev_name = {};
    uint32_t type = 0;
    uint8_t indication = 5;
    std::string data = {};
    std::string support = {};
    uint8_t tool_id = 3;
    uint32_t priority = 0;
};

std::string bus_frame(const bus_request &r, bool is_response = false)
{
    std::string data = r.data, support = r.support;
    busbroker_req_resp record = {};
    record.tool_id = r.tool_id;
    record.inst_id = 1;
    record.transac_id = r.transac_id;
    record.dev_id = r.dev_id.c_str();
    record.dev_name = r.dev_name.c_str();
    record.req_prio = r.priority;
    record.req_type = r.type;
    record.transac_ind = r.indication;
    record.data = data.data();
    record.support_data = support.data();
    return framed(record, is_response);
}

/// The response frame that answers `r` with a data text.
std::string bus_response(bus_request r, const std::string &data)
{
    r.data = data;
    r.support.clear();
    return bus_frame(r, true);
}

struct bus_client {
    tool_info *tool = new_client();

    explicit bus_client(uint16_t port)
    {
        tool->sock_cfg.port = port;
        create_socket(&tool->sock_cfg, &tool->sock_fd, 1);
    }
    void send_bytes(const std::string &bytes) const
    {
        send(tool->sock_fd, bytes.data(), bytes.size(), 0);
    }
    /// The next datagram.
    [[nodiscard]] std::string receive() const
    {
        receive_from_socket(tool);
        return {reinterpret_cast<const char *>(tool->rx_buf), tool->rx_len};
    }
    [[nodiscard]] std::string ask(const bus_request &r) const
    {
        send_bytes(bus_frame(r));
        return receive();
    }
};

constexpr char eeprom[] = "i2c-3-0x50";

bus_request query(uint32_t transac_id)
{
    return {.transac_id = transac_id};
}

using answer_case = std::pair<bus_request, std::string>;

TEST(Broker, AnswersEachTypeFromTheBoard)
{
    const sim_board board;
    const sim_broker broker({"--dyn-id=0x002b:cpu0-dyn"});
    const bus_client client(broker.port);
    const answer_case cases[] = {
        {{1, eeprom, "rom", 3, 5, "00000040,0002,08,1c,aa,55", ""}, "00000040,0002,08,Success,"},
        {{2, eeprom, "rom", 2, 5, "0000003f,0003,08,1c", ""}, "0000003f,0003,08,1c,Success,3,3faa55"},
        // Addressed without data: there or not, and nothing changes.
        {{3, eeprom, "rom", 3, 5, "00000042,0001,08,1c,ff", ",01"}, "00000042,0001,08,Success,"},
        {{4, "i2c-3-0x60", "", 3, 5, "00000042,0001,08,1c,ff", ",01"}, "00000042,0001,08,Failed"},
        {{5, eeprom, "rom", 2, 5, "00000042,0001,08,10", ""}, "00000042,0001,08,10,Success,1,42"},
        {{6, eeprom, "rom", 2, 5, "000000ff,0002,08,1c", ""}, "000000ff,0002,08,1c,Failed"},
        {{7, "eeprom", "rom", 2, 5, "00000000,0001,08,1c", ""}, "00000000,0001,08,1c,No device"},
        {{8, "", "mem", 2, 5, "80000000,0005,08,1c", ""}, "80000000,0005,08,1c,Success,5,424f415244"},
        {{9, "", "mem", 2, 5, "00000000,7ff0,08,1c", ""}, "00000000,7ff0,08,1c,Too long"},
        {{10, "", "", 5, 5, "002a,0007", ""}, "Success,dyn-002a-7"},
        {{11, "", "", 5, 5, "002b,65535", ""}, "Success,cpu0-dyn"},
        {{13, "", "", 6, 5, "01,11,22,33,10", ""}, "Success"},
        {{14, "", "", 0, 5, "", ""}, "Success"},
        {{15, "", "", 7, 0, "", ""}, "Success"},
    };
    for (const auto &[request, answer] : cases) {
        EXPECT_EQ(client.ask(request), bus_response(request, answer)) << request.transac_id;
    }
    const std::vector<std::string> log = board.commands();
    ASSERT_EQ(log.size(), std::size(cases));
    EXPECT_EQ(log[2], "broker 3 i2c-3-0x50 rom ind=5 00000042,0001,08,1c,ff support=,01");
    EXPECT_EQ(log.back(), "broker 7 - - ind=0");
    // A long answer comes in pieces that a client takes.
    const bus_request request = {.dev_name = "mem", .type = 2, .data = "00000000,1000,08,1c"};
    std::string whole = client.ask(request);
    EXPECT_EQ(whole.size(), 4096U);
    whole += client.receive();
    whole += client.receive();
    EXPECT_EQ(whole, bus_response(request, request.data + ",Success,1000," + std::string(0x2000, '0')));
}

TEST(Broker, DropsAndCountsWhatIsNoGoodRequest)
{
    const sim_board board;
    sim_broker broker;
    const bus_client client(broker.port);
    const std::string good = bus_frame({.dev_id = "abc", .type = 1});
    const auto changed = [&](size_t at, char to) { return std::string(good).replace(at, 1, 1, to); };
    const std::string upper = bus_frame(query(0xabc)).replace(18, 3, "ABC");
    const std::pair<const char *, std::vector<std::string>> cases[] = {
        {"bad shape",
         {"", good + "\n", good.substr(1), good.substr(0, 30), good + good, changed(62, 'P'),
          changed(21, 'f'), upper}},
        {"bad crc", {changed(20, '1')}},
        {"bad value",
         {bus_frame({.tool_id = 23}), bus_frame({.priority = 3}), bus_frame({.type = 8}),
          bus_frame({.indication = 6})}},
        {"bad data",
         {bus_frame({.type = 1, .data = "x"}), bus_frame({.type = 2, .data = "00000010,0001,08,1c,"}),
          bus_frame({.type = 3, .data = "00000010,0002,08,1c,aa"}),
          bus_frame({.type = 5, .data = "002a,007"}), bus_frame({.type = 6, .data = "00,11,22,33,30"}),
          bus_frame({.type = 6, .data = "01,11,22,33,30,A1"}), bus_frame({.type = 1, .support = ",1"})}},
        {"good", {bus_frame({.tool_id = 22})}},
    };
    for (const auto &[counter, frames] : cases) {
        for (const std::string &frame : frames) {
            client.send_bytes(frame);
        }
    }
    EXPECT_EQ(client.receive(), bus_response({.tool_id = 22}, "Success"));
    auto counts = broker.stop();
    EXPECT_EQ(broker.status, 0);
    for (const auto &[counter, frames] : cases) {
        EXPECT_EQ(counts[counter], frames.size()) << counter;
    }
    EXPECT_EQ(board.commands().size(), 1U);
}

TEST(Broker, RefusesAsOftenAsItIsTold)
{
    const sim_board board;
    sim_broker broker({"--refuse=1", "--refuse-type=5:1,6:2", "--refuse-word=Later", "--not-found"});
    const bus_client client(broker.port);
    const bus_request write = {.dev_id = eeprom, .type = 3, .data = "00000010,0001,08,1c,aa"};
    const bus_request name = {.type = 5, .data = "0001,0000"};
    const bus_request access = {.type = 6, .data = "01,00,00,00,10"};
    const answer_case cases[] = {
        {write, "00000010,0001,08,Later"},
        {write, "00000010,0001,08,Success,"},
        {name, "Later"},
        {name, "Success,dyn-0001-0"},
        {access, "Later"},
        {access, "Later"},
        {access, "Success"},
        {query(0), "Req not found"},
    };
    for (const auto &[request, answer] : cases) {
        EXPECT_EQ(client.ask(request), bus_response(request, answer));
    }
    EXPECT_EQ(board.commands()[0], "broker 3 i2c-3-0x50 - ind=5 00000010,0001,08,1c,aa refused");
    auto counts = broker.stop();
    EXPECT_EQ(counts["refused"], 4U);
    EXPECT_EQ(counts["repeated"], 4U);
}

TEST(Broker, SpoilsAnswersAsItIsTold)
{
    const sim_board board;
    const std::string plain = bus_response(query(1), "Success");
    const std::string ack = bus_response(query(1), "Rx Ack");
    const std::pair<std::vector<std::string>, std::vector<std::string>> cases[] = {
        {{"--ack-first=100"}, {ack, plain}},
        {{"--ack-first=100", "--reorder=100"}, {plain, ack}},
        {{"--ack-first=100", "--join=100"}, {ack + plain}},
        {{"--double=100", "--delay=100:30"}, {plain, plain}},
        {{"--join=100"}, {plain}},
        {{"--reorder=100", "--late=10"}, {plain}},
    };
    for (const auto &[options, datagrams] : cases) {
        const sim_broker broker(options);
        const bus_client client(broker.port);
        client.send_bytes(bus_frame(query(1)));
        for (const std::string &expected : datagrams) {
            EXPECT_EQ(client.receive(), expected) << options[0];
        }
    }
    const sim_broker cutting({"--split=100"});
    const bus_client client(cutting.port);
    const std::string front = client.ask(query(1));
    EXPECT_LT(front.size(), plain.size());
    EXPECT_EQ(front + client.receive(), plain);
}

TEST(Broker, TakesNoWrongCommandLine)
{
    const sim_board board;
    for (const char *options : {"--ip=0.0.0.0", "--ip=192.0.2.1", "--port=65536", "--lose=101", "--delay=5",
                                "--refuse-type=8:1", "--dyn-id=2a:x", "--loose=5"}) {
        const run_result run = run_shell(std::string("timeout 10 boardsim broker ") + options);
        EXPECT_EQ(run.status, 2 << 8) << options;
        EXPECT_NE(run.err.find("usage:"), std::string::npos) << options;
    }
}

} // namespace
