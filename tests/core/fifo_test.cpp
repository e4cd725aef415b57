/* SPDX-License-Identifier: MIT */
// Answers through a FIFO: of any length, from tools of any kind; and why a run failed.

#include "core/fifo_run.h"
#include "support/capture.h"
#include "support/sim_board.h"

namespace {

constexpr boarddiag::fifo_frame frame = {.create_failed = "create %s\n",
                                         .open_failed = "open %s %c\n",
                                         .command_traced = nullptr,
                                         .run_failed = "%s\n",
                                         .failed_status = 0,
                                         .count_level = 0,
                                         .count_traced = "%d bytes\n"};

TEST(Fifo, AnswersOfAnyLength)
{
    const sim_board board;
    const std::string path = board.root + "/answer";
    // The wanted bytes, the command, the FIFO's size (as a neighbour may set it; 0: as it is), what is told,
    // the status, and how many bytes are stored.
    const std::tuple<int64_t, std::string, int, std::string, uint32_t, size_t> cases[] = {
        {300'000, "seq 1 100000 | head -c 300000", 0, "300000 bytes\n", 0, 300'000},
        {300'000, "seq 1 100000 | head -c 200000", 0, "200000 bytes\n", 0, 200'000},
        {10, "seq 1 100000", 0, "10 bytes\n", 0, 10},
        {0, "seq 1 100000", 0, "0 bytes\n", 0, 0},
        {9000, "seq 1 100000 | head -c 9000", 4096, "9000 bytes\n", 0, 9000},
        {300'000, "seq 1 100000; exit 3", 0, error_line("read", "FAILED <<<---\n"), 768, 0},
    };
    run_result sequence = run_shell("seq 1 100000");
    for (const auto &[wanted, text, size, trace, status, stored] : cases) {
        std::vector<char> data(300'000, 'e');
        boarddiag::fifo_call call = {&frame, "read", path.c_str(), data.data(), wanted, -1, 0};
        boarddiag::command_line command;
        ASSERT_EQ(boarddiag::fifo_run_begin(&call), 0u);
        EXPECT_TRUE(size == 0 || fcntl(call.fd, F_SETPIPE_SZ, size) > 0);
        boarddiag::command_format(&command, "(%s) >%s", text.c_str(), path.c_str());
        EXPECT_EQ(told(status, [&] { return boarddiag::fifo_run_end(&call, 0, &command); }), trace);
        EXPECT_EQ(sequence.out.compare(0, stored, data.data(), stored), 0) << text;
        EXPECT_EQ(std::ranges::count(data, 'e'), static_cast<std::ptrdiff_t>(data.size() - stored));
    }
}

TEST(Reason, TellsWhatFailedAndWhy)
{
    const sim_board board;
    const std::string path = board.root + "/answer", away = board.root + "/away/answer";
    const std::string read =
        "i2ctool --read --bus=3 --addr=0x55 --count=1 --pipe=" + path + " --width=8 --reg=0x00";
    uint8_t data = 0;
    const auto get = [&](const reg_info *info, const std::string &pipe) {
        return i2ctool_get("3", 0x55, 0, info, 1, pipe.c_str(), &data);
    };
    const reg_info bad = {REG8, 7, 0};
    EXPECT_STREQ(diag_reason(), "");
    const std::pair<std::function<uint32_t()>, std::string> cases[] = {
        {[&] { return get(&reg8_data8, path); }, read + ": exit status 1"},
        {[&] { return get(&reg8_data8, away); }, away + ": No such file or directory"},
        {[&] { return get(&reg8_data8, board.root); }, board.root + ": Is a directory"},
        {[&] { return get(&bad, path); }, "i2ctool_get: Invalid width size 7"},
        {[&] { return pcitool_get(0, 9, 0, 0, &data, path.c_str(), 1, 8); },
         "pcitool --get --bus=0 --dev=9 --func=0 --offset=0x00 --pipe=" + path +
             " --count=1 --width=8: exit status 1"},
        {[&] { return i2ctool_set("3;kill $$", 0x50, 0, &reg8_data8, &data, 1, 0, 0); },
         "i2ctool --write --bus=3;kill $$ --addr=0x50 --width=8 --reg=0x00 --val=0x00: signal 15 "
         "(Terminated)"},
        {[&] { return i2ctool_set_no_data(nullptr, 1, "3\x1b", 0x50); },
         "i2ctool --no_data --bus=3\\x1b --addr=0x50 : exit status 1"},
        {[&] { return ipmitool_get("0-9", 0x50, 0, &reg8_data8, 1, nullptr, &data); },
         "ipmitool raw 0x38 0x2 0x9 0x50 0x0 0x1: exit status 1"},
        {[&] { return epoll_generic_get(nullptr, nullptr, nullptr); }, "epoll_generic_get: Rx NULL pointers"},
    };
    testing::internal::CaptureStderr();
    for (const auto &[call, reason] : cases) {
        console_of([&call = call] { EXPECT_NE(call(), 0u); });
        EXPECT_EQ(diag_reason(), reason);
    }
    testing::internal::GetCapturedStderr();
    std::thread([] { EXPECT_STREQ(diag_reason(), ""); }).join();
}

TEST(Reason, StatusesHaveWords)
{
    for (const auto &[status, words] : std::initializer_list<std::pair<uint32_t, const char *>>{
             {0, "success"},
             {DIAG_ERR_INVALID_ARG, "invalid argument"},
             {UINT32_MAX, "call failed"},
             {256, "exit status 1"},
             {127 << 8, "exit status 127 (no such command)"},
             {139 << 8, "exit status 139 (Segmentation fault)"},
             {SIGINT, "signal 2 (Interrupt)"},
             {0x8a008001, "unknown status 0x8a008001"}}) {
        EXPECT_STREQ(diag_status_text(status), words);
    }
}

} // namespace
