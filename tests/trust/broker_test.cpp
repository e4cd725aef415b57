/* SPDX-License-Identifier: MIT */
// A bus broker that is silent, late, restarted or talks nonsense, and signals in the middle of everything.
#include <fstream>

#include "access/calls.h"
#include "busbroker/loopback.h"
#include "core/output.h"
#include "support/sim_broker.h"

namespace {

constexpr int32_t every_ms = 0; // a tick, which takes 100 ms of a request's patience

class Broker : public Calls {
  protected:
    request_record req;

    Broker()
    {
        board.set_image("lpc.bin", 0, {'B', 'O', 0, 1, 0, 2, 0, 3, 0, 4, 0, 5, 0, 6, 0, 7, 0, 8, 0, 9});
    }

    /// Reads two bytes.
    uint32_t ask(tool_info *tool, uint32_t retry_ms = 60'000, uint32_t addr = 0)
    {
        got(0);
        update_busbroker_req_fields(&req, addr, 2, 8, dest, 0, BB_REQ_READ, 28, nullptr, 0);
        req.retry_ms = retry_ms;
        return request_busbroker(&req, tool, "cpu0", "fpga", 0, BB_REQ_READ, 5);
    }

    void expect_good(tool_info *tool)
    {
        EXPECT_EQ(ask(tool), 0u);
        EXPECT_EQ(got(3), (bytes{'B', 'O', 0xee}));
        EXPECT_TRUE(is_idle(tool));
    }
};

TEST_F(Broker, SilentLateOrNonsensicalItEndsEachRequestAndLeavesNothing)
{
    // What is spoiled, a request's patience, how many of 30 fail at least and at most, what counts the
    // spoiling.
    const std::tuple<std::string, uint32_t, size_t, size_t, const char *> cases[] = {
        {"--silent", 1000, 30, 30, "swallowed"},
        {"--late=100", 1000, 1, 30, "delayed"}, // an answer comes when a later request waits
        {"--late=20", 60'000, 0, 0, "delayed"},
        {"--split=100", 60'000, 0, 0, "split"},
        {"--ack-first=100 --join=100", 60'000, 0, 0, "joined"},
        {"--ack-first=100 --join=50 --split=50 --double=50", 60'000, 0, 0, "joined"},
        {"--refuse=3", 60'000, 3, 3, "refused"},
        {"--damage=80", 1000, 1, 29, "damaged"},
        {"--damage=60 --ack-first=50 --join=50 --split=50", 1000, 1, 29, "damaged"},
    };
    set_verb_level(-1);
    const std::string port = "--port=" + std::to_string(sim_broker().port);
    tool_info *tool = start_client(static_cast<uint16_t>(std::stoi(port.substr(7))), every_ms);
    for (const auto &[spoils, retry_ms, least, most, counter] : cases) {
        SCOPED_TRACE(spoils);
        sim_broker broker({port, spoils});
        size_t failed = 0;
        for (uint32_t i = 0; i < 30; i++) {
            const uint32_t addr = 2 * (i % 10), status = ask(tool, retry_ms, addr);
            EXPECT_EQ(status, status == 0 ? 0 : DIAG_ERR_INVALID_ARG);
            EXPECT_EQ(got(2), status == 0 ? board.image("lpc.bin", addr, 2) : bytes(2, 0xee));
            EXPECT_TRUE(is_idle(tool));
            failed += status == 0 ? 0 : 1;
        }
        EXPECT_TRUE(failed >= least && failed <= most) << failed;
        EXPECT_GT(broker.stop()[counter], 0u);
        const sim_broker good({port});
        for (int i = 0; i < 50 && ask(tool, 1000) != 0; i++) { // until a text of a damaged length is full
        }
        expect_good(tool);
    }
}

TEST_F(Broker, ToolsInheritNoDescriptor)
{
    become("ls /proc/self/fd >${5#--pipe=}", "lpctool");
    ASSERT_EQ(system(("lpctool 1 2 3 4 --pipe=" + path).c_str()), 0);
    const std::string before = text_of(path) + "\xee";
    boarddiag::command_output text{};
    ASSERT_TRUE(boarddiag::start_output("true", &text)); // a pipe
    new_client();                                        // a socket
    EXPECT_EQ(lpctool_get(0, 100, 'b', pipe, dest), 0u);
    boarddiag::close_output(&text);
    EXPECT_EQ(got(before.size()), bytes(before.begin(), before.end()));
}

TEST_F(Broker, ThatIsNotThereEndsTheProgram)
{
    uint16_t port = sim_broker().port;
    EXPECT_EXIT(ask(start_client(port, every_ms)), testing::ExitedWithCode(255), "");
}

TEST_F(Broker, SignalsInterruptNothing)
{
    become("echo ' 42 4f'");
    std::filesystem::create_symlink("/bin/true", board.root + "/bin/lpctool");
    become("printf B >${4#--pipe=}", "gpiotool");
    static std::atomic<int> ticks{0}; // which go on behind the test
    EXPECT_TRUE(register_timeout_calls(
        1, [](void *n) { static_cast<std::atomic<int> *>(n)->fetch_add(1); }, &ticks));
    tool_info *tool = start_client(
        [](const request_view &request) { return std::vector{request.data + ",Success,2,424f"}; }, every_ms);
    set_verb_level(-1);
    for (int i = 0; i < 1000; i++) {
        expect_good(tool);
        if (i % 2 == 0) {
            ASSERT_EQ(gpiotool_get(0, 1, pipe, dest), 0u);
            ASSERT_EQ(got(2), (bytes{'B', 0xee}));
        } else if (i % 4 == 1) {
            ASSERT_EQ(ipmitool2_get(6, 1, 0, nullptr, 2, dest), 0u);
            ASSERT_EQ(got(3), (bytes{'B', 'O', 0xee}));
        } else {
            ASSERT_EQ(lpctool_set(0, two, 2, 'b', 0), 0u);
        }
    }
    EXPECT_GT(ticks, 100);
}

} // namespace
