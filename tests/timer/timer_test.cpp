/* SPDX-License-Identifier: MIT */
#include <chrono>
#include <cmath>

#include "support/capture.h"

void count(void *arg)
{
    static_cast<std::atomic<int> *>(arg)->fetch_add(1);
}

void tick(int times)
{
    for (int i = 0; i < times; i++) {
        timeout_calls();
    }
}

void block_only_usr1()
{
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, SIGUSR1);
    sigprocmask(SIG_SETMASK, &mask, nullptr);
}

/// 1 when SIGUSR1 is blocked, 2 when SIGALRM is, the sum when both are.
int blocked()
{
    sigset_t mask;
    sigprocmask(SIG_SETMASK, nullptr, &mask);
    return sigismember(&mask, SIGUSR1) + 2 * sigismember(&mask, SIGALRM);
}

TEST(TimeoutCalls, ListsRunOnTheirTicks)
{
    static std::atomic<int> never{0}, every{0}, tenth{0}, other{0};
    static std::string order;
    tick(10); // an empty list 2 sets the counter back all the same
    EXPECT_TRUE(register_timeout_calls(0, count, &never));
    EXPECT_TRUE(register_timeout_calls(1, count, &every));
    EXPECT_TRUE(register_timeout_calls(5, count, &tenth));
    EXPECT_TRUE(register_timeout_calls(-1, count, &other));
    register_timeout_calls(1, nullptr, &order);
    register_timeout_calls(
        1, [](void *arg) { *static_cast<std::string *>(arg) += 'b'; }, &order);
    register_timeout_calls(
        1, [](void *arg) { *static_cast<std::string *>(arg) += 'a'; }, &order);
    EXPECT_NE(time_out_calls_list[0], nullptr);
    tick(9);
    EXPECT_EQ(tenth, 0);
    tick(16);
    EXPECT_EQ(never, 0);
    EXPECT_EQ(every, 25);
    EXPECT_EQ(tenth, 2);
    EXPECT_EQ(other, 2);
    EXPECT_EQ(order.substr(0, 4), "baba");
    tick(5); // the counter stood at 5
    EXPECT_EQ(tenth, 3);
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
    auto register_many = [] {
        for (int n = 0; n < 300; n++) {
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
    EXPECT_EQ(runs, 600);
}

TEST(TimeoutCalls, HandlerLeavesErrnoAlone)
{
    register_timeout_calls(
        1, [](void *) { errno = EBADF; }, nullptr);
    errno = EDOM;
    timer_handler(SIGALRM);
    EXPECT_EQ(errno, EDOM);
}

TEST(InitTimer, PeriodicTimerTicksAndBlocksNothing)
{
    static std::atomic<int> runs{0};
    register_timeout_calls(1, count, &runs);
    block_only_usr1();
    timer_t timer = nullptr;
    ASSERT_EQ(init_timer(1, &timer, 0), 0u);
    EXPECT_EQ(blocked(), 0);
    struct sigaction action = {};
    sigaction(SIGALRM, nullptr, &action);
    EXPECT_EQ(action.sa_handler, timer_handler);
    EXPECT_EQ(action.sa_flags & SA_RESTART, 0);
    itimerspec period = {};
    timer_gettime(timer, &period);
    EXPECT_EQ(period.it_interval.tv_nsec, 1'000'000);
    while (runs < 3) {
        pause();
    }
}

TEST(InitTimer, FailuresLeaveNoTimerAndTheMaskAsItWas)
{
    block_only_usr1();
    int marker = 0;
    timer_t timer = &marker;
    EXPECT_EQ(told(DIAG_ERR_INVALID_ARG, [&] { return init_timer(1, &timer, 3); }),
              "Only 1mSec, 16mSec, 1Sec timeout types are supported\n");
    EXPECT_EQ(timer, nullptr);
    EXPECT_EQ(blocked(), 1);
    EXPECT_EQ(init_timer(1, &timer, -1), DIAG_ERR_INVALID_ARG);
    timer = &marker;
    EXPECT_EQ(init_timer(7, &timer, 1), 0u);
    EXPECT_EQ(timer, nullptr);
    EXPECT_EQ(told(DIAG_ERR_INVALID_ARG, [] { return init_timer(0, nullptr, 0); }),
              error_line("init_timer", "NULL pointer received as timer\n"));
}

TEST(WaitforTimeout, LastsAsLongAsToldThroughInterruptions)
{
    timer_t ticking = nullptr;
    ASSERT_EQ(init_timer(1, &ticking, 0), 0u);
    timer_t timer = nullptr;
    ASSERT_EQ(init_timer(0, &timer, 0), 0u);
    const auto start = std::chrono::steady_clock::now();
    waitfor_timeout(timer, 0.2);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
}

TEST(WaitforTimeout, NothingToWaitFor)
{
    timer_t timer = nullptr;
    ASSERT_EQ(init_timer(0, &timer, 0), 0u);
    const itimerspec armed = {{}, {3600, 0}};
    timer_settime(timer, 0, &armed, nullptr);
    EXPECT_EQ(console_of([&] { waitfor_timeout(timer, 0); }), "");
    const std::string refused = error_line("waitfor_timeout", "Failed to set time to timer with id\n");
    for (double seconds : {-0.5, -7.0, -HUGE_VAL, std::nan("")}) {
        EXPECT_EQ(console_of([&] { waitfor_timeout(timer, seconds); }), refused) << seconds;
    }
    timer_delete(timer);
    EXPECT_EQ(console_of([&] { waitfor_timeout(timer, 1); }), refused);
}
