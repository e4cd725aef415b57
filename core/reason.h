/* SPDX-License-Identifier: MIT */
// Why a call failed: what diag_reason() tells the thread that made the call.
#ifndef BOARDDIAG_CORE_REASON_H
#define BOARDDIAG_CORE_REASON_H

#include <boarddiag/decls.h>

namespace boarddiag {

/// Notes, for the calling thread, why its call fails, in place of what was noted before: one line that names
/// the command, the path or the address, and what the system said. Line ends at its end are taken off, other
/// characters that do not print are escaped. An error report notes its message already; this is for whoever
/// knows more, behind the report. Keeps errno.
void set_reason(const char *format, ...) BOARDDIAG_PRINTF(1, 2);

/// Notes that `command` ended with a status other than 0, or could not be run (-1, with errno).
void note_failed_run(const char *command, int status);

} // namespace boarddiag

#endif
