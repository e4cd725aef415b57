/* SPDX-License-Identifier: MIT */
/**
 * @file
 * What encloses the declarations of every public header: C linkage, visibility in a shared build, and what a
 * program may ask of its compiler.
 */
#ifndef BOARDDIAG_DECLS_H
#define BOARDDIAG_DECLS_H

/** @cond */
#if defined(__clang__) && !defined(__cplusplus)
/* A C89 program that is compiled with -pedantic-errors may meet bool, which <stdbool.h> has there too. */
#define BOARDDIAG_C99_PUSH                                                                                   \
    _Pragma("clang diagnostic push") _Pragma("clang diagnostic ignored \"-Wc99-extensions\"")
#define BOARDDIAG_C99_POP _Pragma("clang diagnostic pop")
#else
#define BOARDDIAG_C99_PUSH
#define BOARDDIAG_C99_POP
#endif
/** @endcond */

#if defined(__GNUC__)
/** Makes what follows visible in a shared library, whose other names are hidden. */
#define BOARDDIAG_VISIBILITY_PUSH _Pragma("GCC visibility push(default)")
/** Ends #BOARDDIAG_VISIBILITY_PUSH. */
#define BOARDDIAG_VISIBILITY_POP _Pragma("GCC visibility pop")
/** Lets the compiler check the arguments of a printf-style function. */
#define BOARDDIAG_PRINTF(format_index, first_arg) __attribute__((format(printf, format_index, first_arg)))
#else
#define BOARDDIAG_VISIBILITY_PUSH
#define BOARDDIAG_VISIBILITY_POP
#define BOARDDIAG_PRINTF(format_index, first_arg)
#endif

#if defined(DIAG_WARN_UNUSED) && defined(__GNUC__)
#define BOARDDIAG_CHECKED __attribute__((warn_unused_result))
#else
/** Warns of a call whose status nobody looks at. For programs that define DIAG_WARN_UNUSED before they
 * include a header. */
#define BOARDDIAG_CHECKED
#endif

#ifdef __cplusplus
/** Opens the declarations of a public header. */
#define BOARDDIAG_BEGIN_DECLS                                                                                \
    BOARDDIAG_VISIBILITY_PUSH extern "C"                                                                     \
    {
/** Closes the declarations of a public header. */
#define BOARDDIAG_END_DECLS                                                                                  \
    }                                                                                                        \
    BOARDDIAG_VISIBILITY_POP
#else
#define BOARDDIAG_BEGIN_DECLS BOARDDIAG_C99_PUSH BOARDDIAG_VISIBILITY_PUSH
#define BOARDDIAG_END_DECLS BOARDDIAG_VISIBILITY_POP BOARDDIAG_C99_POP
#endif

#endif
