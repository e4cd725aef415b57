/* SPDX-License-Identifier: MIT */
/* What some figures are measured against, in a file of its own so that no call is optimised away. */
#ifndef BENCH_REFERENCE_H
#define BENCH_REFERENCE_H

#ifdef __cplusplus
extern "C" {
#endif

/** Takes what diag_print() takes and does nothing. */
void empty_variadic(int level, const char *format, ...);

#ifdef __cplusplus
}
#endif

#endif
