/* SPDX-License-Identifier: MIT */
/* What the functions that a program brings itself were called with, and what they are to answer. */
#ifndef TESTS_CORE_OWN_EDGE_H
#define TESTS_CORE_OWN_EDGE_H

#include <stdio.h>

struct own_edge {
    char calls[1024];   /* the command lines, one behind the other */
    int status;         /* of system() and pclose() */
    size_t answer_size; /* bytes that system() writes into the pipe of its command */
    char *text;         /* what popen() reads; null: it fails */
    unsigned pause;     /* of the last pause, in microseconds */
};

#endif
