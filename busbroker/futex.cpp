/* SPDX-License-Identifier: MIT */
#include "busbroker/futex.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// A 32-bit system has two calls, and which one fits depends on the C library's time_t.
#ifdef SYS_futex_time64
constexpr long futex_number = sizeof(time_t) > sizeof(long) ? SYS_futex_time64 : SYS_futex;
#else
constexpr long futex_number = SYS_futex;
#endif

void futex(uint32_t *word, int operation, uint32_t value, const timespec *limit)
{
    const int kept = errno;
    syscall(futex_number, word, operation | FUTEX_PRIVATE_FLAG, value, limit, nullptr, 0);
    errno = kept;
}

} // namespace

uint32_t boarddiag::wake_count(uint32_t &word)
{
    return std::atomic_ref(word).load();
}

void boarddiag::wake_sleepers(uint32_t &word)
{
    std::atomic_ref(word).fetch_add(1);
    futex(&word, FUTEX_WAKE, INT_MAX, nullptr);
}

void boarddiag::sleep_on(uint32_t &word, uint32_t seen, const timespec *limit)
{
    futex(&word, FUTEX_WAIT, seen, limit);
}
