/* SPDX-License-Identifier: MIT */
// The error report that every folder of the library shares.
#ifndef BOARDDIAG_CORE_REPORT_H
#define BOARDDIAG_CORE_REPORT_H

#include <atomic>

#include <boarddiag/core.h>

/// Reports an error in two lines of level -1: `function` with the line of this report, then the message,
/// which diag_reason() tells from now on. `function` names the public function that the program called:
/// __func__, or what a shared helper was told.
#define REPORT_ERROR(function, ...) ::boarddiag::report_error((function), __LINE__, __VA_ARGS__)

/// The same report of an error that follows from another one, whose reason stays.
#define REPORT_FOLLOW_UP(function, ...) ::boarddiag::report(-1, (function), __LINE__, __VA_ARGS__)

/// The same two-line form at another level, for traces; filtered like any message of that level.
#define REPORT_TRACE(function, level, ...) ::boarddiag::report((level), (function), __LINE__, __VA_ARGS__)

/// diag_print() where every step has one: a message that nobody takes costs a comparison and no call.
#define PRINT_TAKEN(level, ...)                                                                              \
    do {                                                                                                     \
        if (::boarddiag::is_message_taken(level)) [[unlikely]] {                                             \
            diag_print((level), __VA_ARGS__);                                                                \
        }                                                                                                    \
    } while (0)

namespace boarddiag {

/// The argument of the messages that tell of a failed tool run.
inline constexpr const char tool_failed_mark[] = "FAILED <<<---";

/// Status of a call that failed without a code of its own: all bits set.
inline constexpr uint32_t status_minus_one = UINT32_MAX;

/// Emits the prefix and the message; the two stay together on the console when threads report at once.
/// Use the macros above.
void report(int level, const char *function, int line, const char *format, ...) BOARDDIAG_PRINTF(4, 5);
/// report() at the level of errors, whose message is noted as the reason of the failure.
void report_error(const char *function, int line, const char *format, ...) BOARDDIAG_PRINTF(3, 4);

/// From now on SIGALRM interrupts threads of this process: messages keep it off while they are printed.
void expect_ticks();

/// diag_print() of a text that needs no formatting and is short enough not to be cut.
void print_text(int level, const char *text);

// The levels up to which messages are taken, here so that PRINT_TAKEN needs no call. Independent words: no
// order between them is promised, so relaxed accesses do.
inline std::atomic<int> user_verb_level{0};
inline std::atomic<int> log_level{0};
inline constexpr int error_level = -1;

/// Whether a message of this level is printed on the console.
inline bool is_message_printed(int level)
{
    return level == error_level || level <= user_verb_level.load(std::memory_order_relaxed);
}

/// Whether a message of this level goes to the system log, where each one is an entry of its own.
inline bool is_message_logged(int level)
{
    return level == error_level || level <= log_level.load(std::memory_order_relaxed);
}

/// Whether a message of this level reaches a sink at all.
inline bool is_message_taken(int level)
{
    return is_message_printed(level) || is_message_logged(level);
}

} // namespace boarddiag

#endif
