/* SPDX-License-Identifier: MIT */
#include "message.h"

#include <cstdarg>
#include <cstdio>
#include <string>

namespace boardsim {

namespace {

// Made when it is first asked for, where a failure can still be told.
std::string &program()
{
    static std::string name = "boardsim";
    return name;
}

void print(const char *format, va_list args, const std::string &behind)
{
    char text[1024];
    vsnprintf(text, sizeof text, format, args);
    fprintf(stderr, "%s: %s%s\n", program().c_str(), text, behind.c_str());
}

} // namespace

void set_program(std::string_view name)
{
    program() = name;
}

void complain(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    print(format, args, "");
    va_end(args);
}

void complain_usage(const char *format, ...)
{
    va_list args;
    va_start(args, format);
    print(format, args, "; see " + program() + " --help");
    va_end(args);
}

} // namespace boardsim
