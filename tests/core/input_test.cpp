/* SPDX-License-Identifier: MIT */
#include <poll.h>
#include <sys/time.h>
#include <termios.h>

#include "support/capture.h"

// Whether the terminal is, in all its respects, as it is during (or else: outside of) a wait for a key.
bool is_in_mode(bool waiting)
{
    struct termios now;
    EXPECT_EQ(tcgetattr(STDIN_FILENO, &now), 0);
    return (now.c_lflag & (ICANON | ECHO)) == (waiting ? 0 : ICANON | ECHO) &&
           (fcntl(STDIN_FILENO, F_GETFL) & O_NONBLOCK) == (waiting ? O_NONBLOCK : 0);
}

std::string line(int size = 64)
{
    std::string text(64, '#');
    const int length = get_user_input(text.data(), size);
    EXPECT_EQ(text[static_cast<size_t>(std::max(length, 0))], length < 0 ? '#' : '\0');
    return length < 0 ? "end" : text.c_str();
}

// Waits in vain for as long as told: the clock's second changes as often.
void wait_in_vain(int64_t seconds)
{
    struct timespec start, end;
    clock_gettime(CLOCK_REALTIME, &start);
    EXPECT_EQ(wait_key_pressed(seconds), -1);
    clock_gettime(CLOCK_REALTIME, &end);
    EXPECT_GE(end.tv_sec - start.tv_sec, seconds);
}

std::atomic<int> signals; // lock-free, as a handler needs it

// Interrupts the process every few milliseconds, without restarting what it interrupts; once some signals
// have come and `ready` says so, an operator types.
std::jthread operator_types(int fd, const std::string &text, bool (*ready)())
{
    struct sigaction action = {};
    action.sa_handler = [](int) { signals++; };
    sigaction(SIGALRM, &action, nullptr);
    const struct itimerval often = {{0, 5000}, {0, 5000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    signals = 0;
    return std::jthread([=] {
        while (signals < 3 || !ready()) {
            std::this_thread::yield();
        }
        dprintf(fd, "%s", text.c_str());
    });
}

TEST(Input, Terminal)
{
    const int keyboard = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(grantpt(keyboard) == 0 && unlockpt(keyboard) == 0);
    dup2(open(ptsname(keyboard), O_RDWR | O_NOCTTY), STDIN_FILENO);
    ASSERT_TRUE(is_in_mode(false));
    const auto typing = operator_types(keyboard, "\xc8", [] { return is_in_mode(true); });
    EXPECT_EQ(wait_key_pressed(30), 0xc8);
    wait_in_vain(2);
    EXPECT_EQ(wait_key_pressed(INT64_MIN), -1);
    EXPECT_TRUE(is_in_mode(false));
    struct pollfd echo = {keyboard, POLLIN, 0};
    EXPECT_EQ(poll(&echo, 1, 0), 0);

    dprintf(keyboard, "abc"); // no Enter yet
    EXPECT_EQ(wait_key_pressed(30), 'a');
    EXPECT_EQ(wait_key_pressed(0), 'b'); // out of the stream's buffer
    dprintf(keyboard, "d\nnext\n");
    EXPECT_EQ(line(), "cd");
    EXPECT_EQ(wait_key_pressed(30), 'n');
    EXPECT_EQ(line(), "ext");
    dprintf(keyboard, "\4"); // the operator's end of input, which does not stick
    EXPECT_EQ(line(), "end");
    dprintf(keyboard, "go\n");
    EXPECT_EQ(line(), "go");
}

TEST(Input, PipeFileAndClosedInput)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    dup2(ends[0], STDIN_FILENO);
    using row = std::tuple<std::string, int, std::string>;
    for (const auto &[text, size, expected] :
         {row("abcdef\n", 4, "abc"), row("\n", 4, ""), row("a\r\n", 64, "a\r"), row("abc\n", 1, ""),
          row("ab\xff", 64, "ab"), row("\xff", 1, "end")}) {
        dprintf(ends[1], "%s", text.c_str());
        EXPECT_EQ(line(size), expected) << text;
    }
    for (const int flags : {0, O_NONBLOCK}) {
        ASSERT_EQ(fcntl(STDIN_FILENO, F_SETFL, flags), 0);
        dprintf(ends[1], "first ");
        const auto typing = operator_types(ends[1], "second\n", [] { return true; });
        EXPECT_EQ(line(), "first second");
    }
    dprintf(ends[1], "kept");
    EXPECT_EQ(line(0), "end");
    close(ends[1]);
    EXPECT_EQ(line(), "kept");
    wait_in_vain(2);
    EXPECT_EQ(line(1), "end");

    dup2(fileno(tmpfile()), STDIN_FILENO);
    EXPECT_EQ(wait_key_pressed(0), -1);
    ASSERT_EQ(pwrite(STDIN_FILENO, "k", 1, 0), 1); // a file may yet grow
    EXPECT_EQ(wait_key_pressed(0), 'k');
    const auto report = error_line("wait_key_pressed", "fcntl error\n");
    EXPECT_EQ(console_of([] { close(STDIN_FILENO), wait_in_vain(2); }), report + report);
}
