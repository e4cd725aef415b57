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

// What came from a command line or a file must not act on the terminal.
std::string escaped(const char *text)
{
    std::string all;
    for (; *text != '\0'; text++) {
        char code[8];
        snprintf(code, sizeof code, is_control(*text) ? "\\x%02x" : "%c", static_cast<unsigned char>(*text));
        all += code;
    }
    return all;
}

void print(const char *format, va_list args, const std::string &behind)
{
    char text[1024];
    vsnprintf(text, sizeof text, format, args);
    fprintf(stderr, "%s: %s%s\n", program().c_str(), escaped(text).c_str(), behind.c_str());
}

} // namespace

bool is_control(char c)
{
    return (c >= 0 && c < ' ') || c == '\x7f';
}

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
