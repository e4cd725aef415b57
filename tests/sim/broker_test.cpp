/* SPDX-License-Identifier: MIT */
// The simulated bus broker, datagram by datagram.
#include "busbroker/loopback.h"
#include "support/sim_board.h"
#include "support/sim_broker.h"

using change = std::function<void(busbroker_req_resp &)>;

const change none = [](busbroker_req_resp &) {};

/// The frame of a request told as its type, device id and name, data and support; "-" is an empty text.
std::string frame_of(const std::string &request, const change &apply = none, bool is_response = false)
{
    std::string texts[4];
    busbroker_req_resp record = {};
    std::istringstream in(request);
    in >> record.req_type;
    for (std::string &text : texts) {
        in >> text;
        text = text == "-" ? "" : text;
    }
    record.tool_id = 3;
    record.inst_id = 1;
    record.transac_ind = 5;
    record.dev_id = texts[0].c_str(), record.dev_name = texts[1].c_str();
    record.data = texts[2].data(), record.support_data = texts[3].data();
    apply(record);
    return framed(record, is_response);
}

/// The response frame that answers a request with a data text.
std::string answer_of(const std::string &request, std::string data, const change &apply = none)
{
    const auto answer = [&](busbroker_req_resp &r) {
        apply(r), r.data = data.data(), r.support_data = nullptr;
    };
    return frame_of(request, answer, true);
}

class SimBroker : public testing::Test {
  protected:
    const sim_board board;
    std::optional<sim_broker> broker;
    tool_info *client = new_client();

    void start(const std::vector<std::string> &options = {})
    {
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
    std::string ask(const std::string &request)
    {
        send_bytes(frame_of(request));
        return receive();
    }
};

using answer_case = std::pair<const char *, std::string>;

TEST_F(SimBroker, AnswersEachTypeFromTheBoard)
{
    start({"--dyn-id=0x002b:cpu0-dyn"});
    const answer_case cases[] = {
        {"3 i2c-3-0x50 rom 00000040,0002,08,1c,aa,55", "00000040,0002,08,Success,"},
        {"2 i2c-3-0x50 rom 0000003f,0003,08,1c", "0000003f,0003,08,1c,Success,3,3faa55"},
        // Addressed without data: there or not, and nothing changes.
        {"3 i2c-3-0x50 rom 00000042,0001,08,1c,ff ,01", "00000042,0001,08,Success,"},
        {"3 i2c-3-0x60 - 00000042,0001,08,1c,ff ,01", "00000042,0001,08,Failed"},
        {"2 i2c-3-0x50 rom 00000042,0001,08,10", "00000042,0001,08,10,Success,1,42"},
        {"2 i2c-3-0x50 rom 000000ff,0002,08,1c", "000000ff,0002,08,1c,Failed"},
        {"2 eeprom rom 00000000,0001,08,1c", "00000000,0001,08,1c,No device"},
        {"2 - mem 80000000,0005,08,1c", "80000000,0005,08,1c,Success,5,424f415244"},
        {"2 - mem 00000000,7ff0,08,1c", "00000000,7ff0,08,1c,Too long"},
        {"5 - - 002a,0007", "Success,dyn-002a-7"},
        {"5 - - 002b,65535", "Success,cpu0-dyn"},
        {"6 - - 01,11,22,33,10", "Success"},
        {"0", "Success"},
        {"7", "Success"},
    };
    for (const auto &[request, answer] : cases) {
        EXPECT_EQ(ask(request), answer_of(request, answer)) << request;
    }
    const std::vector<std::string> log = board.commands();
    ASSERT_EQ(log.size(), std::size(cases));
    EXPECT_EQ(log[2], "broker 3 i2c-3-0x50 rom ind=5 00000042,0001,08,1c,ff support=,01");
    EXPECT_EQ(log.back(), "broker 7 - - ind=5");
    // A long answer comes in pieces that a client takes.
    const std::string first = ask("2 - mem 00000000,1000,08,1c"), second = receive(), third = receive();
    EXPECT_EQ(first.size(), 4096U);
    EXPECT_EQ(first + second + third,
              answer_of("2 - mem", "00000000,1000,08,1c,Success,1000," + std::string(0x2000, '0')));
}

TEST_F(SimBroker, DropsAndCountsWhatIsNoGoodRequest)
{
    start();
    const std::string good = frame_of("1 abc");
    const auto changed = [&](size_t at, char to) { return std::string(good).replace(at, 1, 1, to); };
    const change highest = [](auto &r) {
        r.tool_id = 22, r.req_prio = 2, r.transac_ind = 0, r.transac_id = 0xabc;
    };
    const std::pair<const char *, std::vector<std::string>> cases[] = {
        {"bad shape",
         {"", good + "\n", good.substr(1), good.substr(0, 30), good + good, changed(62, 'P'),
          changed(21, 'f'), frame_of("0", highest).replace(18, 3, "ABC")}},
        {"bad crc", {changed(20, '1')}},
        {"bad value",
         {frame_of("0", [](auto &r) { r.tool_id = 23; }), frame_of("0", [](auto &r) { r.req_prio = 3; }),
          frame_of("8"), frame_of("0", [](auto &r) { r.transac_ind = 6; })}},
        {"bad data",
         {frame_of("1 - - x"), frame_of("2 - - 00000010,0001,08,1c,"),
          frame_of("3 - - 00000010,0002,08,1c,aa"), frame_of("5 - - 002a,007"),
          frame_of("6 - - 00,11,22,33,30"), frame_of("6 - - 01,11,22,33,30,A1"),
          frame_of("6 - - 00,11,22,33,30," + std::string(32, 'A')), frame_of("1 - - - ,1")}},
        {"good", {frame_of("0", highest)}},
    };
    for (const auto &[counter, frames] : cases) {
        std::ranges::for_each(frames, [this](const std::string &frame) { send_bytes(frame); });
    }
    EXPECT_EQ(receive(), answer_of("0", "Success", highest));
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
    const char *write = "3 i2c-3-0x50 - 00000010,0001,08,1c,aa", *name = "5 - - 0001,0000",
               *access = "6 - - 01,00,00,00,10";
    const answer_case cases[] = {
        {write, "00000010,0001,08,Later"},
        {write, "00000010,0001,08,Success,"},
        {name, "Later"},
        {name, "Success,dyn-0001-0"},
        {access, "Later"},
        {access, "Later"},
        {access, "Success"},
        {"0", "Req not found"},
    };
    for (const auto &[request, answer] : cases) {
        EXPECT_EQ(ask(request), answer_of(request, answer));
    }
    EXPECT_EQ(board.commands()[0], "broker 3 i2c-3-0x50 - ind=5 00000010,0001,08,1c,aa refused");
    auto counts = broker->stop();
    EXPECT_TRUE(counts["refused"] == 4 && counts["repeated"] == 4);
}

TEST_F(SimBroker, SpoilsAnswersAsItIsTold)
{
    const std::string plain = answer_of("0", "Success"), ack = answer_of("0", "Rx Ack");
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
        send_bytes(frame_of("0"));
        for (const std::string &expected : datagrams) {
            EXPECT_EQ(receive(), expected) << options[0];
        }
    }
    start({"--split=100"});
    const std::string front = ask("0"), rest = receive();
    EXPECT_LT(front.size(), plain.size());
    EXPECT_EQ(front + rest, plain);
}

TEST_F(SimBroker, TakesNoWrongCommandLine)
{
    for (const std::string options :
         {"--ip=0.0.0.0", "--ip=192.0.2.1", "--port=65536", "--lose=101", "--delay=5", "--delay=5:x",
          "--refuse-type=8:1", "--dyn-id=2a:x", "--loose=5"}) {
        const run_result run = run_shell("timeout 10 boardsim broker " + options);
        EXPECT_EQ(run.status, 2 << 8) << options;
        EXPECT_TRUE(run.err.ends_with("; see boardsim broker --help\n")) << run.err;
    }
}
