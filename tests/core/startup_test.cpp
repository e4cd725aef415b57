/* SPDX-License-Identifier: MIT */

#include "support/capture.h"
#include "support/sim_board.h"

TEST(Startup, VerbosityFromEnvironmentAndNvram)
{
    const sim_board board;
    const std::tuple<const char *, uint8_t, int32_t, int, int> cases[] = {
        {"2", 1, 1, 0, 2},    {"2", 1, 3, 0, 3},
        {"-1", 1, -1, 0, -1}, {"4", 0, 3, 0, 0},
        {"abc", 0, 3, 2, 0},  {nullptr, 0, 3, 2, 2},
        {"-1", 1, 90, 0, 90}, {"4294967298", 0, 0, 0, sizeof(long) > 4 ? 2 : 0},
        {"0", 255, 1, 3, 1},
    };
    for (const auto &[variable, valid, nvram, before, after] : cases) {
        const uint8_t sign = nvram < 0 ? 0xff : 0;
        variable != nullptr ? setenv("VERB_LEVEL", variable, 1) : unsetenv("VERB_LEVEL");
        board.set_image("nvram.bin", 1058, {valid, 0, static_cast<uint8_t>(nvram), sign, sign, sign});
        set_verb_level(before);
        capture([] { diag_system_init("test"); });
        EXPECT_EQ(get_verb_level(), after) << (variable ? variable : "none") << ' ' << nvram;
    }
}

TEST(Startup, OtherSettings)
{
    const sim_board board;
    setenv("LOG_LEVEL", "7", 1);
    setenv("CONFIG_DEBUG", "", 1);
    setenv("DIAG_DEBUG", "5", 1);
    setenv("VERB_LEVEL", "9", 1);
    set_verb_level(1);
    set_log_level(3);
    const auto told = capture([] { diag_system_init("my_test"); });
    EXPECT_EQ(told.console, "Invalid verb level 9 - Valid range 0..3\n"
                            "nvram_query read 1068 bytes from the fifo\n"
                            "Invalid log level 7 - Valid range 0..3. Defaulting to 0\n");
    // The log level of before start-up holds until its own step.
    EXPECT_EQ(std::ranges::count(told.log, '\n'), 3);
    EXPECT_TRUE(told.log.ends_with(" to 0\n<open my_test 8 136>")) << told.log;
    EXPECT_EQ(get_config_debug_enable(), 1);

    for (const char *name : {"LOG_LEVEL", "CONFIG_DEBUG", "DIAG_DEBUG"}) {
        unsetenv(name);
    }
    set_log_level(3);
    setenv("VERB_LEVEL", "0", 1);
    board.set_faults("nvramtool 0 exit 1\n"); // which leaves the rest
    const auto less = capture([] { diag_system_init("my_test"); });
    EXPECT_EQ(less.console, error_line("nvramtool_query", "FAILED <<<---\nError Reading from nvram\n"));
    EXPECT_TRUE(less.log.ends_with("<open my_test 8 136>")) << less.log;
    EXPECT_EQ(capture([] { diag_print(1, "x"); }).log, ""); // 0 again
    EXPECT_EQ(get_config_debug_enable(), 0);
    EXPECT_EQ(get_debug_enable(), 5);
    EXPECT_EQ(capture([] { set_nvram_verb_level(nullptr); }).console, // told twice
              error_line("set_nvram_verb_level", "NVRAM is not valid. Could not set Verbosity level\n") +
                  error_line("set_nvram_verb_level", "NVRAM is not valid\n"));
}

TEST(Startup, WhoQueriesHow)
{
    const sim_board board;
    const std::string shared = "/tmp/nvram_pipe", own = shared + '_' + std::to_string(getpid()),
                      query = "nvramtool --query --pipe=";
    const std::pair<const char *, std::string> cases[] = {
        {"test", query + shared},
        {"/usr/bin/nvramtool", query + shared},
        {"nvramtool", ""},
        {"busbroker", query + own + " --busbroker"},
        {"my-busbroker2", query + own + " --busbroker"},
    };
    for (const auto &[name, command] : cases) {
        board.clear_commands();
        capture([n = name] { diag_system_init(n); });
        const auto commands = board.commands();
        EXPECT_EQ(commands.empty() ? "" : commands.back(), command) << name;
        EXPECT_FALSE(std::filesystem::exists(shared) || std::filesystem::exists(own));
    }
}
