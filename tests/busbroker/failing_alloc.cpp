/* SPDX-License-Identifier: MIT */
#include "busbroker/failing_alloc.h"

#include <cstdlib>

namespace {

thread_local int until_failure;

bool fails()
{
    return until_failure > 0 && --until_failure == 0;
}

} // namespace

extern "C" {

void *__real_malloc(size_t size);
void *__real_calloc(size_t count, size_t size);
char *__real_strdup(const char *text);
void *__wrap_malloc(size_t size);
void *__wrap_calloc(size_t count, size_t size);
char *__wrap_strdup(const char *text);

void *__wrap_malloc(size_t size)
{
    return fails() ? nullptr : __real_malloc(size);
}

void *__wrap_calloc(size_t count, size_t size)
{
    return fails() ? nullptr : __real_calloc(count, size);
}

char *__wrap_strdup(const char *text)
{
    return fails() ? nullptr : __real_strdup(text);
}

} // extern "C"

void diagtest::fail_allocation(int nth)
{
    until_failure = nth;
}
