/* SPDX-License-Identifier: MIT */
// What a test program asks about its surroundings: its configuration file, its processor, its companions.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <boarddiag/core.h>

#include "core/reason.h"
#include "core/report.h"

namespace {

// In the order of preference.
constexpr const char *config_extensions[] = {".cfg", ".xml"};
constexpr size_t extension_room = 5; // an extension and the terminator

constexpr size_t machine_size = 10; // of a machine name with its terminator
constexpr size_t path_size = 256;

struct cpu_family {
    const char *prefix;
    int code;
};

constexpr cpu_family cpu_families[] = {{"x86", CPU_ARCH_X86}, {"arm", CPU_ARCH_ARM}};

// Whether `path` opens for reading, whatever it is; a FIFO must not keep us waiting.
bool opens_for_reading(const char *path)
{
    const int fd = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);

    if (fd >= 0) {
        close(fd);
    }
    return fd >= 0;
}

} // namespace

char *build_config_filename(const char *base)
{
    if (base == nullptr) {
        REPORT_ERROR(__func__,
                     "You must pass a valid string to use as the base of the filename without extension\n");
        return nullptr;
    }
    const size_t size = strlen(base) + extension_room;
    auto *const name = static_cast<char *>(calloc(1, size));
    if (name == nullptr) {
        REPORT_ERROR(__func__, "Could not allocate space for the config file name\n");
        return nullptr;
    }
    for (const char *const extension : config_extensions) {
        snprintf(name, size, "%s%s", base, extension);
        if (opens_for_reading(name)) {
            return name;
        }
    }
    boarddiag::set_reason("%s: %s", name, strerror(errno));
    diag_print(1, "Config file (%s) must be either end in a .xml or .cfg extension\n", base);
    free(name);
    return nullptr;
}

uint32_t get_cpu_arch(int *arch)
{
    struct utsname host;

    if (uname(&host) != 0) {
        REPORT_ERROR(__func__, "Could not get cpu architcture!\n");
        return DIAG_ERR_FAILED;
    }
    const bool fits = strnlen(host.machine, sizeof host.machine) < machine_size;
    for (const cpu_family &family : cpu_families) {
        if (fits && strncmp(host.machine, family.prefix, strlen(family.prefix)) == 0) {
            *arch = family.code;
            return 0;
        }
    }
    REPORT_ERROR(__func__, "Could not get valid cpu architecture\n");
    return DIAG_ERR_FAILED;
}

uint32_t check_file_existance_in_diagbin(const char *name)
{
    if (name == nullptr) {
        diag_print(3, "Input file pointer is NULL\n");
        boarddiag::set_reason("no file name given");
        return DIAG_ERR_INVALID_ARG;
    }
    const char *const libraries = getenv("LD_LIBRARY_PATH");
    if (libraries == nullptr) {
        boarddiag::set_reason("LD_LIBRARY_PATH is not set");
        return DIAG_ERR_INVALID_ARG;
    }
    char path[path_size];
    const int length = snprintf(path, sizeof path, "%s/../bin/%s", libraries, name);
    const bool fits = length >= 0 && static_cast<size_t>(length) < sizeof path;
    if (!fits) {
        boarddiag::set_reason("LD_LIBRARY_PATH makes a path of more than %zu characters", path_size - 1);
        return DIAG_ERR_INVALID_ARG;
    }
    if (!opens_for_reading(path)) {
        boarddiag::set_reason("%s: %s", path, strerror(errno));
        return DIAG_ERR_INVALID_ARG;
    }
    return 0;
}
