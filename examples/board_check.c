/* SPDX-License-Identifier: MIT */
/*
 * board_check: a whole diagnostic program, written as a test engineer would for the sample board of the
 * simulator. It reads each device, checks what it holds, prints a verdict line for each check and ends with
 * status 1 if one of them failed.
 *
 *   board_check [FOLDER]   FOLDER is where the FIFOs of the tools are made (default: /tmp)
 */
#include <boarddiag.h>

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#define EEPROM_BUS "3"
#define EEPROM_ADDR 0x50
#define LARGE_EEPROM_ADDR 0x51

static char pipe_path[PATH_MAX];

/* Reads `expected` from a register of an EEPROM; returns whether it holds exactly that. */
static bool eeprom_holds(uint8_t addr, uint16_t reg, const struct reg_info *info, const char *expected)
{
    uint8_t data[64] = {0};
    const size_t length = strlen(expected);

    return i2ctool_get(EEPROM_BUS, addr, reg, info, (int32_t)length, pipe_path, data) == 0 &&
           memcmp(data, expected, length) == 0;
}

static bool check_eeprom(void)
{
    return eeprom_holds(EEPROM_ADDR, 0x00, &reg8_data8, "BOARDSIM SAMPLE EEPROM") &&
           eeprom_holds(EEPROM_ADDR, 0x20, &reg8_data8, "1.0a.2.7-b");
}

static bool check_large_eeprom(void)
{
    return eeprom_holds(LARGE_EEPROM_ADDR, 0x0100, &reg16_data8, "BOARDSIM LARGE EEPROM");
}

static const struct {
    const char *name;
    bool (*run)(void);
} checks[] = {
    {"eeprom, 8-bit register", check_eeprom},
    {"eeprom, 16-bit register", check_large_eeprom},
};

int main(int argc, char **argv)
{
    bool failed = false;

    snprintf(pipe_path, sizeof pipe_path, "%s/board_check_%d", argc > 1 ? argv[1] : "/tmp", (int)getpid());
    diag_system_init("board_check");
    for (size_t i = 0; i < sizeof checks / sizeof *checks; i++) {
        const bool passed = checks[i].run();

        diag_print(0, "%s: %s\n", checks[i].name, passed ? "PASSED" : "FAILED");
        failed = failed || !passed;
    }
    return failed ? EXIT_FAILURE : EXIT_SUCCESS;
}
