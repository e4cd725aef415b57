/* SPDX-License-Identifier: MIT */
// The program's own commands: boardsim <command> args...
#ifndef BOARDSIM_COMMANDS_H
#define BOARDSIM_COMMANDS_H

#include "tools.h"

namespace boardsim {

struct command {
    std::string_view name;      // with the program's before it
    int (*run)(arguments args); // returns the exit status
};

/// Writes a complete sample board.
int run_init(arguments args);

/// Answers bus broker requests until it is told to end.
int run_broker(arguments args);

} // namespace boardsim

#endif
