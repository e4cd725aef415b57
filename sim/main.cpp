/* SPDX-License-Identifier: MIT */
// boardsim acts by the name it is called by: one of the board's tools, or boardsim itself.
#include <array>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "broker_options.h"
#include "commands.h"
#include "message.h"
#include "tools.h"

#ifdef __SANITIZE_ADDRESS__
// At the end of a tool the search for leaks takes longer than all that the tool does. The simulator's own
// tests turn it on again.
extern "C" const char *__asan_default_options()
{
    return "detect_leaks=0";
}
#endif

namespace {

using namespace boardsim;

constexpr std::array commands = {
    command{"init", "boardsim init [--force] DIR", run_init},
    command{"broker", broker_synopsis, run_broker},
};

void print_help()
{
    puts("The simulated board. Its tools work on the board in the folder that BOARDSIM_DIR names.\n");
    for (const command &c : commands) {
        puts(c.synopsis);
    }
    puts("boardsim TOOL [arguments of the tool]\n\nThe tools, also to be called by their own names:\n");
    for (const tool *t : all_tools()) {
        puts(t->synopsis);
    }
}

int run_command(arguments args)
{
    const std::string_view name = args.empty() ? "" : args[0];
    if (name == "--help") {
        print_help();
        return status_ok;
    }
    for (const command &c : commands) {
        if (name == c.name) {
            return c.run(args.subspan(1));
        }
    }
    if (const tool *t = find_tool(name)) {
        return run_tool(*t, args.subspan(1));
    }
    complain("no such command; boardsim --help lists them");
    return status_usage;
}

} // namespace

int main(int argc, char **argv)
{
    const arguments args(argv, static_cast<size_t>(argc));
    if (args.empty()) {
        return status_usage;
    }
    const char *slash = strrchr(args[0], '/');
    const tool *t = find_tool(slash == nullptr ? args[0] : slash + 1);
    return t == nullptr ? run_command(args.subspan(1)) : run_tool(*t, args.subspan(1));
}
