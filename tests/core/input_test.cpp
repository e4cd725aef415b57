/* SPDX-License-Identifier: MIT */
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

#include <boarddiag.h>

#include "support/capture.h"

namespace {

void type(int fd, const std::string &text)
{
    ASSERT_EQ(write(fd, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

// Standard input on a pipe; returns the end to write into.
int input_from_pipe(void)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    return ends[1];
}

// Standard input on a terminal; returns the operator's side.
int input_from_terminal(void)
{
    const int keyboard = posix_openpt(O_RDWR | O_NOCTTY);
    EXPECT_TRUE(grantpt(keyboard) == 0 && unlockpt(keyboard) == 0);
    const int terminal = open(ptsname(keyboard), O_RDWR | O_NOCTTY);
    EXPECT_EQ(dup2(terminal, STDIN_FILENO), 0);
    return keyboard;
}

bool is_in_key_mode(void)
{
    struct termios now;
    EXPECT_EQ(tcgetattr(STDIN_FILENO, &now), 0);
    return (now.c_lflag & (ICANON | ECHO)) == 0 && (fcntl(STDIN_FILENO, F_GETFL) & O_NONBLOCK) != 0;
}

bool is_in_line_mode(void)
{
    struct termios now;
    EXPECT_EQ(tcgetattr(STDIN_FILENO, &now), 0);
    return (now.c_lflag & (ICANON | ECHO)) == (ICANON | ECHO) &&
           (fcntl(STDIN_FILENO, F_GETFL) & O_NONBLOCK) == 0;
}

std::string line(int size = 64)
{
    std::string text(64, '#');
    const int length = get_user_input(text.data(), size);
    EXPECT_EQ(text[length < 0 ? 0 : static_cast<size_t>(length)], length < 0 ? '#' : '\0');
    return length < 0 ? "end" : text.substr(0, static_cast<size_t>(length));
}

double cpu_seconds(void)
{
    return static_cast<double>(clock()) / CLOCKS_PER_SEC;
}

volatile sig_atomic_t signals;

// Interrupts the process every few milliseconds, without restarting what it interrupts.
void send_signals(void)
{
    struct sigaction action = {};
    action.sa_handler = [](int) { signals = signals + 1; };
    sigaction(SIGALRM, &action, nullptr);
    const struct itimerval often = {{0, 5000}, {0, 5000}};
    setitimer(ITIMER_REAL, &often, nullptr);
}

TEST(Input, KeyOnATerminalNeedsNoEnterAndShowsNoEcho)
{
    const int keyboard = input_from_terminal();
    ASSERT_TRUE(is_in_line_mode());
    send_signals();
    std::thread operator_([&] {
        while (!is_in_key_mode() || signals < 3) {
            std::this_thread::yield();
        }
        type(keyboard, "\xc8");
    });
    EXPECT_EQ(wait_key_pressed(30), 0xc8);
    operator_.join();
    EXPECT_TRUE(is_in_line_mode());
    struct pollfd echo = {keyboard, POLLIN, 0};
    EXPECT_EQ(poll(&echo, 1, 0), 0);
}

TEST(Input, WaitOnATerminalEndsAndRestores)
{
    const int keyboard = input_from_terminal();
    EXPECT_EQ(wait_key_pressed(0), -1);
    EXPECT_EQ(wait_key_pressed(INT64_MIN), -1);
    send_signals();
    struct timespec start, end;
    const double cpu = cpu_seconds();
    clock_gettime(CLOCK_REALTIME, &start);
    EXPECT_EQ(wait_key_pressed(2), -1);
    clock_gettime(CLOCK_REALTIME, &end);
    EXPECT_GE(end.tv_sec - start.tv_sec,
              2); // two second changes, whatever the part of a second before the first
    EXPECT_LT(cpu_seconds() - cpu, 0.5);
    EXPECT_TRUE(is_in_line_mode());
    type(keyboard, "late\n");
    EXPECT_EQ(line(), "late");
}

TEST(Input, KeyInTheMiddleOfALineKeepsTheOrder)
{
    const int keyboard = input_from_terminal();
    type(keyboard, "abc"); // no Enter yet
    EXPECT_EQ(wait_key_pressed(30), 'a');
    EXPECT_EQ(wait_key_pressed(0), 'b'); // out of the stream's buffer
    type(keyboard, "d\nnext\n");
    EXPECT_EQ(line(), "cd");
    EXPECT_EQ(wait_key_pressed(30), 'n');
    EXPECT_EQ(line(), "ext");
    type(keyboard, "\4"); // the operator's end of input does not stick
    EXPECT_EQ(line(), "end");
    type(keyboard, "go\n");
    EXPECT_EQ(line(), "go");
}

TEST(Input, LineOutlastsSignalsAndNonBlockingInput)
{
    const int writer = input_from_pipe();
    send_signals();
    for (const int flags : {0, O_NONBLOCK}) {
        ASSERT_EQ(fcntl(STDIN_FILENO, F_SETFL, flags), 0);
        signals = 0;
        type(writer, "first ");
        std::thread operator_([&] {
            while (signals < 3) {
                std::this_thread::yield();
            }
            type(writer, "second\n");
        });
        EXPECT_EQ(line(), "first second");
        operator_.join();
    }
}

TEST(Input, EndOfInputIsWaitedOutAndMayGrow)
{
    const int writer = input_from_pipe();
    type(writer, "xyz");
    close(writer);
    EXPECT_EQ(wait_key_pressed(0), 'x');
    EXPECT_EQ(line(), "yz");
    const double cpu = cpu_seconds();
    EXPECT_EQ(wait_key_pressed(2), -1);
    EXPECT_LT(cpu_seconds() - cpu, 0.5);
    EXPECT_EQ(line(), "end");

    const int file = memfd_create("input", 0);
    dup2(file, STDIN_FILENO);
    EXPECT_EQ(wait_key_pressed(0), -1);
    ASSERT_EQ(pwrite(file, "k", 1, 0), 1);
    EXPECT_EQ(wait_key_pressed(0), 'k');
}

TEST(Input, Lines)
{
    const int writer = input_from_pipe();
    struct {
        const char *text;
        int size;
        const char *expected;
    } const cases[] = {{"abcdef\n", 4, "abc"}, {"\n", 4, ""},        {"abc\r\n", 64, "abc\r"},
                       {"abc\n", 1, ""},       {"ab\xff", 64, "ab"}, {"\xff", 64, "end"},
                       {"\xff", 1, "end"},     {"last\n", 5, "last"}};
    for (const auto &c : cases) {
        type(writer, c.text);
        EXPECT_EQ(line(c.size), c.expected) << c.text;
    }
    type(writer, "kept");
    EXPECT_EQ(diagtest::console_of([] { EXPECT_EQ(line(0), "end"); }),
              diagtest::error_line("get_user_input", "Invalid buffer of 0 bytes\n"));
    close(writer);
    EXPECT_EQ(line(), "kept");
    EXPECT_EQ(line(1), "end");
}

TEST(Input, ClosedInputIsReportedAndWaitedOut)
{
    const double cpu = cpu_seconds();
    const auto told = diagtest::console_of([] {
        close(STDIN_FILENO);
        EXPECT_EQ(wait_key_pressed(1), -1);
    });
    const auto report = diagtest::error_line("wait_key_pressed", "fcntl error\n");
    EXPECT_EQ(told, report + report);
    EXPECT_LT(cpu_seconds() - cpu, 0.5);
    EXPECT_EQ(line(), "end");
}

} // namespace
