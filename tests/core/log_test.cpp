/* SPDX-License-Identifier: MIT */

#include "core/report.h"
#include "support/capture.h"

TEST(Log, EachSinkHasItsOwnThreshold)
{
    const std::tuple<int, int, int, bool, bool> cases[] = {
        // Only -1 is the error level.
        {0, 0, 0, true, true},    {0, 0, 1, false, false},   {3, 0, 2, true, false},
        {0, 3, 2, false, true},   {-1, -1, 0, false, false}, {7, 0, 7, true, false},
        {-1, -1, -2, true, true}, {-3, 0, -2, false, true},
    };
    for (const auto &[verb, log, level, printed, logged] : cases) {
        set_verb_level(verb);
        set_log_level(log);
        const auto told = capture([l = level] { diag_print(l, "value %d\n", 5); });
        EXPECT_EQ(told.console, printed ? "value 5\n" : "") << verb << ' ' << level;
        EXPECT_EQ(told.log, logged ? "<6>value 5\n" : "") << log << ' ' << level;
    }
}

TEST(Log, ErrorsReachBothSinksWhateverTheThresholdsAndAreCutAt1023Characters)
{
    const std::string most(1023, 'x');
    set_verb_level(-1);
    set_log_level(-1);
    const auto told = capture([&] {
        REPORT_ERROR("reader", "bad %s\n", "pipe");
        diag_print(-1, "%s%s", most.c_str(), "more");
    });
    EXPECT_EQ(told.console, error_line("reader", "bad pipe\n") + "ERROR: " + most);
    EXPECT_EQ(told.log, "<3>ERROR: reader[#]: <3>ERROR: bad pipe\n<3>ERROR: " + most);
}

TEST(Log, ReportsOfThreadsDoNotMixOnTheConsole)
{
    const auto told = capture([] {
        std::vector<std::jthread> threads;
        while (threads.size() < 4) {
            threads.emplace_back([] {
                for (int n = 0; n < 200; n++) {
                    REPORT_ERROR("f", "m\n");
                }
            });
        }
    });
    EXPECT_EQ(told.console, times(800, error_line("f", "m\n")));
}

TEST(Log, SettingsAndFixedAnswers)
{
    set_test_level(-42);
    EXPECT_EQ(get_test_level(), -42);
    EXPECT_EQ(is_eda_enabled() | is_eda_ext_tests() | is_eda_verbose() | is_eda_stop_on_error() |
                  get_test_control() | is_host_be(),
              0);
    EXPECT_EQ(capture([] { diag_syslog_init("again"), diag_syslog_close(); }).log,
              "<open again 8 136><close>");
}
