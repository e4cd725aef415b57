/* SPDX-License-Identifier: MIT */
/* Functions of the C library as a program may bring its own: linked in, or preloaded as a shared library. */
#define _GNU_SOURCE /* the functions that stand here are its own */
#include "own_edge.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

struct own_edge own_edge;

/* Writes the answer into the file behind "--pipe=", as a tool does. */
int system(const char *command)
{
    const char *pipe = command != NULL ? strstr(command, "--pipe=") : NULL;
    char path[256] = "";

    strncat(own_edge.calls, command != NULL ? command : "",
            sizeof own_edge.calls - strlen(own_edge.calls) - 1);
    if (pipe != NULL) {
        strncat(path, pipe + 7, strcspn(pipe + 7, " "));
        FILE *file = fopen(path, "w");
        if (file == NULL) {
            return -1;
        }
        for (size_t i = 0; i < own_edge.answer_size; i++) {
            putc((int)(i % 200), file);
        }
        fclose(file);
    }
    return own_edge.status;
}

FILE *popen(const char *command, const char *mode)
{
    strncat(own_edge.calls, command, sizeof own_edge.calls - strlen(own_edge.calls) - 1);
    return own_edge.text != NULL ? fmemopen(own_edge.text, strlen(own_edge.text), mode) : NULL;
}

int pclose(FILE *stream)
{
    strcat(own_edge.calls, "|closed");
    fclose(stream);
    return own_edge.status;
}

int usleep(useconds_t microseconds)
{
    __atomic_store_n(&own_edge.pause, microseconds, __ATOMIC_SEQ_CST); /* another thread looks */
    return 0;
}
