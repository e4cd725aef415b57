/* SPDX-License-Identifier: MIT */
#include "message.h"

#include <cstdarg>
#include <cstdio>

namespace boardsim {

namespace {
const char *program = "boardsim";
}

void set_program(const char *name)
{
    program = name;
}

void complain(const char *format, ...)
{
    char text[1024];
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    fprintf(stderr, "%s: %s\n", program, text);
}

} // namespace boardsim
