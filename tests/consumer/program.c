/* SPDX-License-Identifier: MIT */
/* A test program that is C11 and C++17 alike. */
#define DIAG_WARN_UNUSED
#include <boarddiag.h>

#include <string.h>

#if BOARDDIAG_VERSION_MAJOR == 0 && BOARDDIAG_VERSION_MINOR < 1
#error "older than 0.1.0"
#endif

int main(void)
{
    uint8_t data[4] = {0}, record[NVRAM_RECORD_SIZE] = {0};

    set_debug_enable(1);
    set_config_debug_enable(true);
    set_nvram_verb_level(record);
#ifdef IGNORES_A_STATUS
    nvramtool_query("/tmp/none", record, false);
#endif
    diag_print(1, "%s\n", boarddiag_version());
    const uint32_t status = i2ctool_get("3", 0x50, 0, &reg16_data8_le, 4, "/tmp/none", data);
    return strcmp(boarddiag_version(), BOARDDIAG_VERSION) == 0 && status == 0 && data[0] == 0x1a ? 0 : 1;
}
