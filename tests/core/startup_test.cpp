/* SPDX-License-Identifier: MIT */
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <syslog.h>
#include <unistd.h>

#include "support/capture.h"
#include "support/sim_board.h"

using diagtest::capture;
using diagtest::console_of;
using diagtest::error_line;

namespace {

class Startup : public testing::Test {
  protected:
    diagtest::sim_board board;

    void set_nvram(uint8_t valid, int32_t verb_level)
    {
        std::vector<uint8_t> fields(sizeof verb_level);
        memcpy(fields.data(), &verb_level, sizeof verb_level);
        board.set_image("nvram.bin", 1060, fields);
        board.set_image("nvram.bin", 1058, {valid});
    }
};

TEST_F(Startup, VerbosityFromEnvironmentAndNvram)
{
    struct {
        const char *verb_level;
        uint8_t valid;
        int32_t nvram;
        int before, after;
    } const cases[] = {
        {"2", 1, 1, 0, 2},    {"2", 1, 3, 0, 3},          {"-1", 1, -1, 0, -1},
        {"4", 0, 3, 0, 0},    {"abc", 0, 3, 2, 0},        {nullptr, 0, 3, 2, 2},
        {"-1", 1, 90, 0, 90}, {"4294967298", 0, 0, 0, sizeof(long) > 4 ? 2 : 0}, {"0", 255, 1, 3, 1},
    };
    for (const auto &c : cases) {
        c.verb_level != nullptr ? setenv("VERB_LEVEL", c.verb_level, 1) : unsetenv("VERB_LEVEL");
        set_nvram(c.valid, c.nvram);
        set_verb_level(c.before);
        console_of([] { diag_system_init("test"); });
        EXPECT_EQ(get_verb_level(), c.after) << (c.verb_level ? c.verb_level : "none") << ' ' << c.nvram;
    }
}

TEST_F(Startup, OtherSettings)
{
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
    EXPECT_EQ(told.log.size(), 3u); // the log level of before start-up holds until its own step
    ASSERT_EQ(told.opened.size(), 1u);
    EXPECT_EQ(told.opened[0].ident, "my_test");
    EXPECT_EQ(told.opened[0].option, 8);
    EXPECT_EQ(told.opened[0].facility, 136);
    EXPECT_EQ(get_config_debug_enable(), 1);
    EXPECT_EQ(get_debug_enable(), 5);

    unsetenv("LOG_LEVEL");
    unsetenv("CONFIG_DEBUG");
    unsetenv("DIAG_DEBUG");
    set_log_level(3);
    setenv("VERB_LEVEL", "0", 1);
    board.set_faults("nvramtool 0 exit 1\n"); // which leaves the rest
    const auto less = capture([] { diag_system_init("my_test"); });
    EXPECT_EQ(less.console, error_line("nvramtool_query", "FAILED <<<---\nError Reading from nvram\n"));
    EXPECT_EQ(less.opened.size(), 1u);
    EXPECT_TRUE(capture([] { diag_print(1, "x"); }).log.empty()); // 0 again
    EXPECT_EQ(get_config_debug_enable(), 0);
    EXPECT_EQ(get_debug_enable(), 5);
    EXPECT_EQ(console_of([] { set_nvram_verb_level(nullptr); }), // told twice
              error_line("set_nvram_verb_level", "NVRAM is not valid. Could not set Verbosity level\n") +
                  error_line("set_nvram_verb_level", "NVRAM is not valid\n"));
}

TEST_F(Startup, WhoQueriesHow)
{
    const std::string own = "/tmp/nvram_pipe_" + std::to_string(getpid());
    struct {
        const char *name;
        std::string command;
    } const cases[] = {
        {"test", "nvramtool --query --pipe=/tmp/nvram_pipe"},
        {"/usr/bin/nvramtool", "nvramtool --query --pipe=/tmp/nvram_pipe"},
        {"nvramtool", ""},
        {"busbroker", "nvramtool --query --pipe=" + own + " --busbroker"},
        {"my-busbroker2", "nvramtool --query --pipe=" + own + " --busbroker"},
    };
    for (const auto &c : cases) {
        board.clear_commands();
        console_of([&] { diag_system_init(c.name); });
        const auto commands = board.commands();
        EXPECT_EQ(commands.empty() ? "" : commands.back(), c.command) << c.name;
        EXPECT_FALSE(std::filesystem::exists("/tmp/nvram_pipe") || std::filesystem::exists(own));
    }
}

} // namespace
