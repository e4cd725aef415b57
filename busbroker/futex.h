/* SPDX-License-Identifier: MIT */
// Wake counters: 32-bit words that one side raises and the other sleeps on, valid when zero. A sleeper notes
// the value, looks for work, and sleeps only while the word still has that value, so no wake-up is lost.
#ifndef BOARDDIAG_BUSBROKER_FUTEX_H
#define BOARDDIAG_BUSBROKER_FUTEX_H

#include <cstdint>

namespace boarddiag {

/// The word's value now; to be noted before looking for work.
uint32_t wake_count(uint32_t &word);

/// Raises the word and wakes whoever sleeps on it. Safe in a signal handler; keeps errno.
void wake_sleepers(uint32_t &word);

/// Sleeps while the word is `seen`. May return early.
void sleep_on(uint32_t &word, uint32_t seen);

/// The same, at most for `limit_ms` milliseconds.
void sleep_on(uint32_t &word, uint32_t seen, uint32_t limit_ms);

} // namespace boarddiag

#endif
