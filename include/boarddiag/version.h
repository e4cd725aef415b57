/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The library's own version, at compile time and at run time.
 */
#ifndef BOARDDIAG_VERSION_H
#define BOARDDIAG_VERSION_H

#include <boarddiag/decls.h>

/** First number of the version of the header that a program is compiled with. */
#define BOARDDIAG_VERSION_MAJOR 0
/** Second number of the version: while the first one is 0, a change of it may break programs. */
#define BOARDDIAG_VERSION_MINOR 1
/** Third number of the version. */
#define BOARDDIAG_VERSION_PATCH 0

/** @cond */
#define BOARDDIAG_VERSION_TEXT(major, minor, patch) #major "." #minor "." #patch
#define BOARDDIAG_VERSION_OF(major, minor, patch) BOARDDIAG_VERSION_TEXT(major, minor, patch)
/** @endcond */

/** The version of the header that a program is compiled with, "major.minor.patch". */
#define BOARDDIAG_VERSION                                                                                    \
    BOARDDIAG_VERSION_OF(BOARDDIAG_VERSION_MAJOR, BOARDDIAG_VERSION_MINOR, BOARDDIAG_VERSION_PATCH)

BOARDDIAG_BEGIN_DECLS

/**
 * The version of the library that the program is linked with.
 *
 * @return a constant text of the form of #BOARDDIAG_VERSION, never null; not to be freed.
 *
 * Thread-safe.
 */
const char *boarddiag_version(void);

BOARDDIAG_END_DECLS

#endif
