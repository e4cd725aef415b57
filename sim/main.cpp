/* SPDX-License-Identifier: MIT */
// boardsim acts by the name it is called by: one of the board's tools, or boardsim itself.
#include <array>
#include <cstring>
#include <string>
#include <string_view>

#include "commands.h"
#include "message.h"
#include "tools.h"
#include "usage.h"

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

constexpr std::string_view program = "boardsim";

constexpr std::array commands = {
    command{"boardsim init", run_init},
    command{"boardsim broker", run_broker},
};

int refuse(std::string_view name)
{
    complain_usage(name.empty() ? "no command is given" : "no such command or tool: %s",
                   std::string(name).c_str());
    return status_usage;
}

int help(arguments args)
{
    const std::string_view name = args.empty() ? program : args[0];
    return print_help(name) ? status_ok : refuse(name);
}

int run_named(const command &what, arguments args)
{
    set_program(what.name);
    return is_answered(what.name, args) ? status_ok : what.run(args);
}

int run_command(arguments args)
{
    const std::string_view name = args.empty() ? "" : args[0];
    if (is_answered(program, args)) {
        return status_ok;
    }
    if (name == "help") {
        return help(args.subspan(1));
    }
    for (const command &c : commands) {
        if (c.name.substr(program.size() + 1) == name) {
            return run_named(c, args.subspan(1));
        }
    }
    if (const tool *t = find_tool(name)) {
        return run_tool(*t, args.subspan(1));
    }
    return refuse(name);
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
