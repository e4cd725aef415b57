/* SPDX-License-Identifier: MIT */
// A client under load, set up as a program does it, through the simulated broker that loses, doubles, delays
// and reorders its answers.
#include <malloc.h>

#include "busbroker/loopback.h"
#include "support/sim_board.h"
#include "support/sim_broker.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr uint32_t requests = 2000; // instrumented code is slow
#else
constexpr uint32_t requests = 10'000;
#endif
constexpr uint32_t callers = 8;
constexpr uint32_t retry_ms = 500; // five ticks, of 1 ms here
constexpr size_t slack = 100'000;  // bytes; one lost text a request is more

std::atomic<uint32_t> succeeded{0};

// Writes four bytes of its own and reads them back. A request may fail, abandoned, but never with other
// bytes.
void write_and_read(tool_info *tool, busbroker_req_resp *req, uint32_t place)
{
    uint32_t bytes = ~place;
    uint32_t got = 0;
    const auto send = [&](int32_t type, uint32_t *data) {
        update_busbroker_req_fields(req, 4 * place, 4, 8, reinterpret_cast<uint8_t *>(data), 0, type, 1,
                                    nullptr, 0);
        const uint32_t status = request_busbroker(req, tool, "cpu0", "mem", 0, uint32_t(type), 5);
        EXPECT_TRUE(status == 0 || status == DIAG_ERR_INVALID_ARG) << status;
        succeeded += status == 0;
        return status;
    };
    const uint32_t written = send(BB_REQ_WRITE, &bytes);
    const uint32_t read = send(BB_REQ_READ, &got);
    EXPECT_TRUE(got == bytes || (got == 0 && (written != 0 || read != 0)))
        << std::hex << got << " at " << place;
}

void load(tool_info *tool, uint32_t first, uint32_t count)
{
    std::vector<std::jthread> threads;
    for (uint32_t caller = 0; caller < callers; caller++) {
        threads.emplace_back([=] {
            diagtest::request_record req;
            req.transac_id = caller << 24 | 2 * first;
            req.retry_ms = retry_ms;
            for (uint32_t round = first; round < first + count; round++) {
                write_and_read(tool, &req, caller << 16 | round);
            }
        });
    }
    threads.clear();
    EXPECT_TRUE(is_idle(tool));
}

} // namespace

TEST(Load, EachCallerGetsItsOwnBytesFromAnUnreliableBroker)
{
    constexpr uint32_t rounds = requests / callers / 2;
    const sim_board board;
    sim_broker broker({"--seed=4", "--lose=5", "--double=5", "--delay=5:8", "--reorder=5"});
    tool_info *tool = start_client(broker.port, 0);
    load(tool, 0, rounds / 5);
    const size_t before = mallinfo2().uordblks; // 0 with a sanitizer, which finds leaks itself
    load(tool, rounds / 5, rounds - rounds / 5);
    EXPECT_LT(mallinfo2().uordblks, before + slack);
    EXPECT_GT(succeeded, requests / 10 * 9);
    const auto counts = broker.stop();
    for (const char *fault : {"lost", "doubled", "delayed", "reordered"}) {
        EXPECT_GT(counts.at(fault), requests / 100) << fault;
    }
    EXPECT_GE(counts.at("good"), requests);
    EXPECT_EQ(counts.at("good"), counts.at("received"));
}
