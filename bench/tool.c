/* SPDX-License-Identifier: MIT */
/*
 * The smallest tool that a wrapper can run: writes --count= bytes into --pipe=, or, without a pipe, prints a
 * line of bytes as ipmitool does. Linked statically, so that its start costs little beside what is measured.
 */
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

static const char *option(char **argv, const char *name)
{
    const size_t length = strlen(name);

    for (char **arg = argv + 1; *arg != NULL; arg++) {
        if (strncmp(*arg, name, length) == 0) {
            return *arg + length;
        }
    }
    return NULL;
}

int main(int argc, char **argv)
{
    static const char line[] = " 01 02 03 04\n";
    char bytes[256];
    const char *pipe = option(argv, "--pipe=");
    const char *count = option(argv, "--count=");
    size_t length = count != NULL ? (size_t)atoi(count) : 1;

    (void)argc;
    if (pipe == NULL) {
        return write(STDOUT_FILENO, line, sizeof line - 1) == (ssize_t)(sizeof line - 1) ? 0 : 1;
    }
    const int fd = open(pipe, O_WRONLY);
    if (length > sizeof bytes) {
        length = sizeof bytes;
    }
    memset(bytes, 0x5a, sizeof bytes);
    return fd >= 0 && write(fd, bytes, length) == (ssize_t)length ? 0 : 1;
}
