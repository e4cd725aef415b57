/* SPDX-License-Identifier: MIT */
// Makes a chosen allocation fail. For programs linked with --wrap=malloc; included by one file of each.
#ifndef TESTS_BUSBROKER_FAILING_MALLOC_H
#define TESTS_BUSBROKER_FAILING_MALLOC_H

#include <cstddef>

namespace diagtest {

/// How many allocations succeed until one fails, once; negative: all succeed.
inline int good_allocations = -1;

} // namespace diagtest

extern "C" {
void *__real_malloc(size_t size);
void *__wrap_malloc(size_t size);

void *__wrap_malloc(size_t size)
{
    return diagtest::good_allocations >= 0 && diagtest::good_allocations-- == 0 ? nullptr
                                                                                : __real_malloc(size);
}
}

#endif
