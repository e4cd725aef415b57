/* SPDX-License-Identifier: MIT */
#include "busbroker/futex.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

// The time that this call takes is a pair of longs on every kernel, whatever the C library's time_t is; its
// successor for times of 64 bits is missing from 32-bit kernels older than 5.1, and is not needed to sleep
// for less than a minute.
struct futex_time {
    long seconds;
    long nanoseconds;
};

void futex(uint32_t *word, int operation, uint32_t value, const futex_time *limit)
{
    const int kept = errno;
    syscall(SYS_futex, word, operation | FUTEX_PRIVATE_FLAG, value, limit, nullptr, 0);
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

void boarddiag::sleep_on(uint32_t &word, uint32_t seen)
{
    futex(&word, FUTEX_WAIT, seen, nullptr);
}

void boarddiag::sleep_on(uint32_t &word, uint32_t seen, uint32_t limit_ms)
{
    const futex_time limit = {static_cast<long>(limit_ms / 1000),
                              static_cast<long>(limit_ms % 1000) * 1'000'000};

    futex(&word, FUTEX_WAIT, seen, &limit);
}
