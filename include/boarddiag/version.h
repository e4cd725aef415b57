/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The library's own version, at compile time and at run time.
 */
#ifndef BOARDDIAG_VERSION_H
#define BOARDDIAG_VERSION_H

#include <boarddiag/decls.h>

/** The version of the header that a program was compiled with, "major.minor.patch". */
#define BOARDDIAG_VERSION "0.1.0"

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
