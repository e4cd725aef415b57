/* SPDX-License-Identifier: MIT */
// A test program in C++17.
#include <boarddiag.h>

#include <string>

int main()
{
    uint32_t (*get)(const char *, uint8_t, uint16_t, const reg_info *, int32_t, const char *, uint8_t *) =
        i2ctool_get;
    uint8_t byte = 0;

    set_debug_enable(1);
    const bool dry = get("3", 0x50, 0, &reg8_data8, 1, "/tmp/none", &byte) == 0 && byte == 0x1a;
    return dry && boarddiag_version() == std::string(BOARDDIAG_VERSION) ? 0 : 1;
}
