/* SPDX-License-Identifier: MIT */
// Refusals that are told as a plain message instead of an error report.
#ifndef BOARDDIAG_BUSBROKER_REFUSAL_H
#define BOARDDIAG_BUSBROKER_REFUSAL_H

namespace boarddiag {

/// diag_print() of a message that is also why the calling thread's call fails.
[[gnu::cold]] void tell_refusal(int level, const char *message);

} // namespace boarddiag

#endif
