/* SPDX-License-Identifier: MIT */
/* A test program that is C11 and C++17 alike. */
#include <boarddiag.h>

#include <stdio.h>
#include <string.h>

#if BOARDDIAG_VERSION_MAJOR * 10000 + BOARDDIAG_VERSION_MINOR * 100 + BOARDDIAG_VERSION_PATCH < 100
#error "older than 0.1.0"
#endif

int main(void)
{
    uint8_t data[4] = {0};
    char version[12];

    set_debug_enable(1);
    diag_print(1, "%s\n", boarddiag_version());
    const uint32_t status = i2ctool_get("3", 0x50, 0, &reg16_data8_le, 4, "/tmp/none", data);
    snprintf(version, sizeof version, "%d.%d.%d", BOARDDIAG_VERSION_MAJOR, BOARDDIAG_VERSION_MINOR,
             BOARDDIAG_VERSION_PATCH);
    const int same =
        strcmp(boarddiag_version(), BOARDDIAG_VERSION) == 0 && strcmp(version, BOARDDIAG_VERSION) == 0;
    return same && status == 0 && data[0] == 0x1a ? 0 : 1;
}
