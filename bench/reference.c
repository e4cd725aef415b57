/* SPDX-License-Identifier: MIT */
#include "bench/reference.h"

void empty_variadic(int level, const char *format, ...)
{
    (void)level;
    (void)format;
}
