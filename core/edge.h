/* SPDX-License-Identifier: MIT */
// Functions of the C library that a program may bring itself, linked in or preloaded: a test double, a
// sandbox. What the program brings is called; where it brings nothing the library takes a cheaper road to the
// same end.
#ifndef BOARDDIAG_CORE_EDGE_H
#define BOARDDIAG_CORE_EDGE_H

#include <sys/types.h>

namespace boarddiag {

/// Whether the program brings its own system(), its own popen() or pclose(), its own usleep(). Found out
/// once; a fully static program counts as bringing none. Thread-safe.
bool is_own_system();
bool is_own_popen();
bool is_own_usleep();

/// Pauses for `microseconds` with usleep(), again and again for what a signal cut off.
void pause_for(useconds_t microseconds);

} // namespace boarddiag

#endif
