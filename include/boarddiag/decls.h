/* SPDX-License-Identifier: MIT */
/**
 * @file
 * What encloses the declarations of every public header: C linkage, and visibility in a shared build.
 */
#ifndef BOARDDIAG_DECLS_H
#define BOARDDIAG_DECLS_H

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
#define BOARDDIAG_BEGIN_DECLS BOARDDIAG_VISIBILITY_PUSH
#define BOARDDIAG_END_DECLS BOARDDIAG_VISIBILITY_POP
#endif

#endif
