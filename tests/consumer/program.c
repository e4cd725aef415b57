/* SPDX-License-Identifier: MIT */
/* A test program that is C90 and C++98 alike, and any later standard of the two. */
#define DIAG_WARN_UNUSED
#include <boarddiag.h>

#include <string.h>

#if BOARDDIAG_VERSION_MAJOR == 0 && BOARDDIAG_VERSION_MINOR < 1
#error "older than 0.1.0"
#endif

int main(void)
{
    uint8_t data[4] = {0}, record[NVRAM_RECORD_SIZE] = {0};
    uint32_t status;

    set_debug_enable(1);
    set_config_debug_enable(true);
    set_nvram_verb_level(record);
#ifdef IGNORES_A_STATUS
    nvramtool_query("/tmp/none", record, false);
#endif
    diag_print(1, "%s\n", boarddiag_version());
    status = i2ctool_get("3", 0x50, 0, &reg16_data8_le, 4, "/tmp/none", data);
    return strcmp(boarddiag_version(), BOARDDIAG_VERSION) == 0 && status == 0 && data[0] == 0x1a ? 0 : 1;
}
