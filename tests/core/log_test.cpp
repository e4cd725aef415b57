/* SPDX-License-Identifier: MIT */
#include <algorithm>
#include <syslog.h>
#include <thread>

#include "core/report.h"
#include "support/capture.h"

using diagtest::capture;
using diagtest::log_entry;

namespace {

TEST(Log, EachSinkHasItsOwnThreshold)
{
    struct {
        int verb, log, level;
        bool printed, logged;
    } const cases[] = {
        // Only -1 is the error level.
        {0, 0, 0, true, true},    {0, 0, 1, false, false},   {3, 0, 2, true, false},
        {0, 3, 2, false, true},   {-1, -1, 0, false, false}, {7, 0, 7, true, false},
        {-1, -1, -2, true, true}, {-3, 0, -2, false, true},
    };
    for (const auto &c : cases) {
        set_verb_level(c.verb);
        set_log_level(c.log);
        const auto told = capture([&] { diag_print(c.level, "value %d\n", 5); });
        EXPECT_EQ(told.console, c.printed ? "value 5\n" : "") << c.verb << ' ' << c.level;
        const std::vector<log_entry> expected{{LOG_INFO, "value 5\n"}};
        EXPECT_EQ(told.log, c.logged ? expected : std::vector<log_entry>{}) << c.log << ' ' << c.level;
    }
    EXPECT_EQ(get_verb_level(), -3);
}

TEST(Log, ErrorsReachBothSinksWhateverTheThresholds)
{
    set_verb_level(-1);
    set_log_level(-1);
    const auto told = capture([] { REPORT_ERROR("reader", "bad %s\n", "pipe"); });
    EXPECT_EQ(told.console, diagtest::error_line("reader", "bad pipe\n"));
    EXPECT_EQ(told.log,
              (std::vector<log_entry>{{LOG_ERR, "ERROR: reader[#]: "}, {LOG_ERR, "ERROR: bad pipe\n"}}));
}

TEST(Log, LongMessagesAreCutAt1023Characters)
{
    const std::string text(1500, 'x');
    const auto told = capture([&] { diag_print(-1, "%s", text.c_str()); });
    EXPECT_EQ(told.console, "ERROR: " + std::string(1023, 'x'));
    EXPECT_EQ(told.log.at(0).text, told.console);
}

TEST(Log, ReportsOfThreadsDoNotMixOnTheConsole)
{
    const auto told = capture([] {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; i++) {
            threads.emplace_back([] {
                for (int n = 0; n < 200; n++) {
                    REPORT_ERROR("f", "m\n");
                }
            });
        }
    });
    EXPECT_EQ(told.console, diagtest::times(800, diagtest::error_line("f", "m\n")));
}

TEST(Log, SettingsAndFixedAnswers)
{
    set_test_level(-42);
    set_debug_enable(5);
    set_config_debug_enable(true);
    EXPECT_EQ(get_test_level(), -42);
    EXPECT_EQ(get_debug_enable(), 5);
    EXPECT_EQ(get_config_debug_enable(), 1);
    EXPECT_EQ(is_eda_enabled() | is_eda_ext_tests() | is_eda_verbose() | is_eda_stop_on_error() |
                  get_test_control() | is_host_be(),
              0);
    const auto told = capture([] { diag_syslog_init("again"), diag_syslog_close(); });
    EXPECT_TRUE(told.opened.at(0).ident == "again" && told.closed == 1);
}

} // namespace
