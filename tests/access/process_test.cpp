/* SPDX-License-Identifier: MIT */
// Programs that are started without waiting for them.
#include "access/calls.h"

using Process = Calls;

// The exit code of the one child.
int ended()
{
    int status = 0;
    return waitpid(-1, &status, 0) > 0 ? WEXITSTATUS(status) : -1;
}

TEST_F(Process, ArgumentVectors)
{
    const std::string program = become("printf '[%s]' \"$@\" $MARK >" + path), long_pipe(3000, 'p');
    setenv("MARK", "environment", 1);
    const std::tuple<decltype(epoll_generic_get) *, const char *, const char *, std::string> cases[] = {
        {epoll_generic_get, nullptr, nullptr, "[--get]"},
        {epoll_generic_get, "/tmp/ep", nullptr, "[--get][--pipe=/tmp/ep]"},
        {epoll_generic_get, nullptr, "a b", "[--get][a b]"},
        {epoll_generic_get, "$HOME;", "x", "[--get][--pipe=$HOME;][x]"},
        {epoll_generic_get, long_pipe.c_str(), nullptr, "[--get][--pipe=" + long_pipe.substr(0, 2040) + "]"},
        {epoll_generic_set, "--val=1", "x", "[--set][--val=1][x]"},
        {epoll_generic_set, long_pipe.c_str(), nullptr, "[--set][" + long_pipe + "]"},
    };
    for (const auto &[call, argument, extra, expected] : cases) {
        EXPECT_EQ(call(program.c_str(), argument, extra), 0u);
        EXPECT_EQ(ended(), 0);
        EXPECT_EQ(text_of(path), expected + "[environment]");
    }
}

TEST_F(Process, NoProgram)
{
    EXPECT_EQ(console_of([&] {
                  printf("of the parent\n"); // still in the buffer when the child is made
                  EXPECT_EQ(epoll_generic_get("/no/such/program", nullptr, nullptr), 0u);
                  EXPECT_EQ(ended(), 127);
              }),
              error_line("epoll_generic_get", "Error while execve. Error code 2\n") + "of the parent\n");
    expect(error_line("epoll_generic_set", "Rx NULL pointers\n"), DIAG_ERR_FAILED, epoll_generic_set, nullptr,
           "x", nullptr);
}
