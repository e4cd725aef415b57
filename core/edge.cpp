/* SPDX-License-Identifier: MIT */
#include "core/edge.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

namespace {

constexpr int64_t ns_per_us = 1000;
constexpr int64_t us_per_second = 1'000'000;

// What is known of a function: 0 nothing yet, else one of these.
constexpr int c_library = 1;
constexpr int own = 2;

// An executable that is not position-independent and takes a function's address stands in for it with an
// entry of its own, which leads to the function.
const void *definition_of(const char *name, const void *function)
{
    Dl_info info = {};
    void *entry = nullptr;

    if (dladdr1(function, &info, &entry, RTLD_DL_SYMENT) == 0 || entry == nullptr) {
        return function;
    }
    const auto *symbol = static_cast<const ElfW(Sym) *>(entry);
    return symbol->st_shndx == SHN_UNDEF ? dlsym(RTLD_NEXT, name) : function;
}

const void *object_of(const void *function)
{
    Dl_info info = {};

    return dladdr(function, &info) != 0 ? info.dli_fbase : nullptr;
}

// A sanitizer's runtime only watches the call and passes it on.
bool is_watched(const char *name, const void *function)
{
    char watcher[40];

    snprintf(watcher, sizeof watcher, "__interceptor_%s", name);
    return dlsym(RTLD_DEFAULT, watcher) == function;
}

// Whether a function stands elsewhere than the rest of the C library, of which nobody brings this one.
bool stands_elsewhere(const char *name, const void *function)
{
    const void *anchor = dlsym(RTLD_NEXT, "gnu_get_libc_version");

    if (anchor == nullptr) {
        anchor = dlsym(RTLD_DEFAULT, "gnu_get_libc_version");
    }
    return anchor != nullptr && object_of(definition_of(name, function)) != object_of(anchor);
}

bool is_own(std::atomic<int> &known, const char *name, const void *function)
{
    int found = known.load(std::memory_order_relaxed);

    if (found == 0) {
        found = stands_elsewhere(name, function) && !is_watched(name, function) ? own : c_library;
        known.store(found, std::memory_order_relaxed);
    }
    return found == own;
}

template <typename Function> const void *address_of(Function *function)
{
    return reinterpret_cast<const void *>(function);
}

int64_t now_us()
{
    timespec now = {};

    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * us_per_second + now.tv_nsec / ns_per_us;
}

std::atomic<int> system_known{0};
std::atomic<int> popen_known{0};
std::atomic<int> pclose_known{0};
std::atomic<int> usleep_known{0};

} // namespace

bool boarddiag::is_own_system()
{
    return is_own(system_known, "system", address_of(&system));
}

bool boarddiag::is_own_popen()
{
    return is_own(popen_known, "popen", address_of(&popen)) ||
           is_own(pclose_known, "pclose", address_of(&pclose));
}

bool boarddiag::is_own_usleep()
{
    return is_own(usleep_known, "usleep", address_of(&usleep));
}

void boarddiag::pause_for(useconds_t microseconds)
{
    const int64_t end = now_us() + microseconds;

    for (int64_t left = microseconds; left > 0; left = end - now_us()) {
        if (usleep(static_cast<useconds_t>(left)) == 0 || errno != EINTR) {
            return;
        }
    }
}
