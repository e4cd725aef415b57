/* SPDX-License-Identifier: MIT */
#include <chrono>
#include <cmath>

#include "support/capture.h"

void tick(int times)
{
    for (int i = 0; i < times; i++) {
        timer_handler(SIGALRM);
    }
}

TEST(TimeoutCalls, ListsRunOnTheirTicksAndLeaveErrnoAlone)
{
    static std::string calls;
    static char letters[] = "nbatu";
    const int32_t types[] = {0, 1, 1, 5, -1};
    const auto note = [](void *letter) { calls += *static_cast<char *>(letter), errno = EBADF; };
    tick(10); // an empty list 2 sets the counter back all the same
    register_timeout_calls(1, nullptr, nullptr);
    for (size_t i = 0; i < std::size(types); i++) {
        EXPECT_TRUE(register_timeout_calls(types[i], note, &letters[i]));
    }
    EXPECT_NE(time_out_calls_list[0], nullptr);
    errno = EDOM;
    tick(30);
    EXPECT_EQ(errno, EDOM);
    EXPECT_EQ(calls, times(3, times(10, "ba") + "tu"));
}

void count(void *arg)
{
    static_cast<std::atomic<int> *>(arg)->fetch_add(1);
}

TEST(TimeoutCalls, RegistrationsAndTicksOfThreadsMeetUnharmed)
{
    static std::atomic<int> runs{0};
    std::atomic<bool> done{false};
    std::thread ticking([&] {
        while (!done) {
            timeout_calls();
        }
    });
    const auto register_many = [] {
        for (int n = 0; n < 1500; n++) {
            register_timeout_calls(1, count, &runs);
        }
    };
    std::thread other(register_many);
    register_many();
    other.join();
    done = true;
    ticking.join();
    runs = 0;
    tick(1);
    EXPECT_EQ(runs, 3000);
}

TEST(InitTimer, PeriodicTimerTicksAndBlocksNothingAndARefusedOneLeavesAllAsItWas)
{
    static std::atomic<int> runs{0};
    register_timeout_calls(1, count, &runs);
    sigset_t mask = {}, after = {}, none = {};
    sigaddset(&mask, SIGUSR1);
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    int marker = 0;
    timer_t timer = &marker;
    for (const int32_t type : {3, -1}) {
        EXPECT_EQ(told(DIAG_ERR_INVALID_ARG, [&] { return init_timer(1, &timer, type); }),
                  "Only 1mSec, 16mSec, 1Sec timeout types are supported\n");
        EXPECT_EQ(timer, nullptr);
    }
    EXPECT_EQ(text_of("/proc/self/timers"), "");
    sigprocmask(SIG_SETMASK, nullptr, &after);
    EXPECT_EQ(memcmp(&after, &mask, sizeof mask), 0);
    timer = &marker;
    EXPECT_EQ(init_timer(7, &timer, 1), 0u);
    EXPECT_EQ(timer, nullptr);
    EXPECT_EQ(told(DIAG_ERR_INVALID_ARG, [] { return init_timer(0, nullptr, 0); }),
              error_line("init_timer", "NULL pointer received as timer\n"));

    set_verb_level(2);
    EXPECT_EQ(told(0, [&] { return init_timer(1, &timer, 0); }), "");
    sigprocmask(SIG_SETMASK, nullptr, &after);
    EXPECT_EQ(memcmp(&after, &none, sizeof none), 0);
    struct sigaction action = {};
    sigaction(SIGALRM, nullptr, &action);
    EXPECT_TRUE(action.sa_handler == timer_handler && (action.sa_flags & SA_RESTART) == 0);
    itimerspec period = {};
    timer_gettime(timer, &period);
    EXPECT_EQ(period.it_interval.tv_nsec, 1'000'000);
    while (runs < 3) {
        pause();
    }
}

TEST(WaitforTimeout, LastsAsLongAsToldThroughInterruptions)
{
    timer_t ticking = nullptr, timer = nullptr;
    ASSERT_EQ(init_timer(1, &ticking, 0) | init_timer(0, &timer, 0), 0u);
    const auto start = std::chrono::steady_clock::now();
    waitfor_timeout(timer, 0.2);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
    const itimerspec armed = {{}, {3600, 0}};
    timer_settime(timer, 0, &armed, nullptr);
    EXPECT_EQ(console_of([&] { waitfor_timeout(timer, 0); }), "");
    const std::string refused = error_line("waitfor_timeout", "Failed to set time to timer with id\n");
    for (const double seconds : {-0.5, -7.0, -HUGE_VAL, std::nan("")}) {
        EXPECT_EQ(console_of([&] { waitfor_timeout(timer, seconds); }), refused) << seconds;
    }
    timer_delete(timer);
    EXPECT_EQ(console_of([&] { waitfor_timeout(timer, 1); }), refused);
}
