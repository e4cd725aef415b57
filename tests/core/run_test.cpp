/* SPDX-License-Identifier: MIT */
#include <array>

#include "core/command.h"
#include "core/output.h"
#include "core/run.h"
#include "core/run_signals.h"
#include "support/capture.h"
#include "support/sim_board.h"

using boarddiag::run_command;

namespace {

std::string joined(const boarddiag::plain_command &plain)
{
    std::string text;
    for (size_t i = 0; plain.argv[i] != nullptr; i++) {
        text += "[" + std::string(plain.argv[i]) + "]";
    }
    for (size_t fd = 1; fd <= 2; fd++) {
        if (plain.redirect[fd] != nullptr) {
            text += std::to_string(fd) + ">" + plain.redirect[fd];
        }
    }
    return text;
}

TEST(Command, IsSplitOnlyWhenAShellWouldDoNoMore)
{
    const std::pair<const char *, const char *> cases[] = {
        {"i2ctool --read --bus=3  --addr=0x50 ", "[i2ctool][--read][--bus=3][--addr=0x50]"},
        {"  lpctool --val=0x1,0x20", "[lpctool][--val=0x1,0x20]"},
        {"ipmitool raw 0x6 > /dev/null", "[ipmitool][raw][0x6]1>/dev/null"},
        {"ipmitool raw 1>/dev/null", "[ipmitool][raw]1>/dev/null"},
        {"ipmitool raw 2>/dev/null", "[ipmitool][raw]2>/dev/null"},
        {"a >x 2>y", "[a]1>x2>y"},
    };
    boarddiag::plain_command plain;
    for (const auto &[command, words] : cases) {
        const bool split = boarddiag::split_plain_command(command, &plain);
        EXPECT_EQ(split ? joined(plain) : "", words) << command;
    }
    for (const char *command :
         {"",      "   ",  "A=1 b", "a $HOME", "a;b",    "a b|c",   "a & b", "a 'b'", "a \"b\"",   "a `b`",
          "a \\b", "a *",  "a b?",  "a [b]",   "a ~",    "a #b",    "! a",   "{ a",   "(a)",       "a\tb",
          "a\nb",  "a <b", "a >",   "a >>b",   "a 2>&1", "a >b >c", "a 3>b", "> b",   "a \xc3\xa9"}) {
        EXPECT_FALSE(boarddiag::split_plain_command(command, &plain)) << command;
    }
    const std::string words = times(static_cast<int>(plain.max_words), "a ");
    EXPECT_TRUE(boarddiag::split_plain_command(words.c_str(), &plain));
    EXPECT_FALSE(boarddiag::split_plain_command((words + "a").c_str(), &plain));
    EXPECT_FALSE(boarddiag::split_plain_command(std::string(2048, 'a').c_str(), &plain));
}

class Run : public testing::Test {
  protected:
    sim_board board;
    const std::string &folder = board.root;

    std::string script(const std::string &name, const std::string &text)
    {
        const std::string path = folder + "/" + name;
        std::ofstream(path) << text;
        chmod(path.c_str(), 0755);
        return path;
    }
};

TEST_F(Run, ReturnsTheWaitStatusThatAShellWouldGive)
{
    const std::string seven = script("seven", "#!/bin/sh\nexit 7\n");
    const std::string bare = script("bare", "exit 5\n"); // no #! line: a shell runs it all the same
    const std::string dies = script("dies", "#!/bin/sh\nkill -$1 $$\n");
    // The command, its status, and what is told on standard error.
    const std::tuple<std::string, int, std::string> cases[] = {
        {"true", 0, ""},
        {seven, 7 << 8, ""},
        {bare, 5 << 8, ""},
        {dies + " TERM", (128 + SIGTERM) << 8, "Terminated\n"},
        {dies + " KILL >/dev/null", (128 + SIGKILL) << 8, "Killed\n"},
        {dies + " PIPE", (128 + SIGPIPE) << 8, ""},
        {dies + " INT", SIGINT, ""},
        {dies + " QUIT", SIGQUIT, "Quit\n"},
        {dies + " 'TERM'", (128 + SIGTERM) << 8, "Terminated\n"}, // a real shell's words
        {"exit 3", 3 << 8, ""},
        {"(exit 4)", 4 << 8, ""},
        {"", 0, ""},
        {folder + "/none 2>/dev/null", 127 << 8, ""},
    };
    for (const auto &[command, status, told] : cases) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(run_command(command.c_str()) & ~0x80, status & ~0x80) << command; // 0x80: a core file
        EXPECT_EQ(testing::internal::GetCapturedStderr(), told) << command;
    }
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(Run, RedirectsWithAndWithoutAShell)
{
    const std::string out = folder + "/out";
    for (const std::string &command : {"echo a b >" + out, "echo 'a b' > " + out}) {
        EXPECT_EQ(run_command(command.c_str()), 0);
        EXPECT_EQ(text_of(out), "a b\n") << command;
    }
    EXPECT_EQ(run_command(("true > " + folder + "/no/such 2>/dev/null").c_str()) & 0xff, 0);
}

// Those of a line like "SigIgn:\t0000000000001000", as bits.
uint64_t interrupts_in(const std::string &line)
{
    return std::stoull(line.substr(8), nullptr, 16) & (1u << (SIGINT - 1) | 1u << (SIGQUIT - 1));
}

TEST_F(Run, KeepsSignalsAsSystemDoes)
{
    // The tool sees the caller's own signals; the caller ignores them while the tool interrupts its group.
    const std::string tool = script("tool", "#!/bin/sh\ngrep SigIgn /proc/self/status > " + folder +
                                                "/ignored\nkill -INT $PPID\nkill -QUIT $PPID\n");
    EXPECT_EQ(run_command(tool.c_str()), 0);
    struct sigaction now = {};
    sigaction(SIGINT, nullptr, &now);
    EXPECT_EQ(now.sa_handler, SIG_DFL);
    EXPECT_EQ(interrupts_in(text_of(folder + "/ignored")), 0u);
}

std::string output_of(const std::string &command)
{
    boarddiag::command_output output{};
    std::string text;
    std::array<char, 256> part;
    EXPECT_TRUE(boarddiag::start_output(command.c_str(), &output));
    for (ssize_t got; (got = boarddiag::read_output(&output, part)) > 0;) {
        text.append(part.data(), static_cast<size_t>(got));
    }
    boarddiag::close_output(&output);
    return text;
}

TEST_F(Run, AToolWhoseTextIsReadIsInterruptedThoughCommandsRun)
{
    boarddiag::run_signals signals;
    boarddiag::begin_run(&signals); // as a command in another thread does
    const std::string ignored = output_of("grep SigIgn /proc/self/status");
    boarddiag::end_run(&signals);
    EXPECT_EQ(interrupts_in(ignored), 0u);
}

TEST_F(Run, LeavesAToolThatCannotBeStartedToTheShell)
{
    for (const std::string &command : {folder + "/none", "no-such-tool --get"s, "no-such-tool 'x'"s}) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(run_command(command.c_str()), 127 << 8);
        EXPECT_EQ(output_of(command), "");
        const std::string told = testing::internal::GetCapturedStderr();
        EXPECT_EQ(told, times(2, run_shell(command).err));
    }
    EXPECT_EQ(output_of(script("bare", "echo of a shell\n")), "of a shell\n"); // without a #! line
}

} // namespace
