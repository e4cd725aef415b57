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
#define SENSOR_ADDR 0x48

#define VERSION_REG 0x20
#define VERSION_LENGTH 10
#define IMAGE_TYPE 2 /* what the sample board's firmware says of itself */

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
    uint8_t head[40] = {0};

    if (i2ctool_get(EEPROM_BUS, EEPROM_ADDR, 0x00, &regblk_datablk, sizeof head, pipe_path, head) != 0) {
        return false;
    }
    dump_hex(head, 32, sizeof head, 0x00, 1, 1, 0);
    return eeprom_holds(EEPROM_ADDR, 0x00, &reg8_data8, "BOARDSIM SAMPLE EEPROM");
}

static bool check_large_eeprom(void)
{
    return eeprom_holds(LARGE_EEPROM_ADDR, 0x0100, &reg16_data8, "BOARDSIM LARGE EEPROM");
}

static bool check_version(void)
{
    char version[VERSION_LENGTH + 1] = "";

    if (i2ctool_get(EEPROM_BUS, EEPROM_ADDR, VERSION_REG, &reg8_data8, VERSION_LENGTH, pipe_path,
                    (uint8_t *)version) != 0) {
        return false;
    }
    diag_print(0, "firmware version %s\n", version);
    return check_valid_ver_format_and_image_type(version, IMAGE_TYPE) == 1;
}

/* The sensor gives a big-endian register whose upper 12 bits are the temperature in sixteenths of a degree.
 */
static bool check_temperature(void)
{
    uint16_t reg = 0;
    float degrees = 0;

    if (i2ctool_get(EEPROM_BUS, SENSOR_ADDR, 0x00, &reg8_data16, sizeof reg, pipe_path, (uint8_t *)&reg) !=
        0) {
        return false;
    }
    byte_swap_p(&reg, &reg, 16);
    if (get_twos_complement_val(get_field_val(4, 15, reg), 12, 4, &degrees) != 0) {
        return false;
    }
    diag_print(0, "temperature %.4f degrees\n", (double)degrees);
    return degrees > -40.0f && degrees < 75.0f;
}

static const struct {
    const char *name;
    bool (*run)(void);
} checks[] = {
    {"eeprom, 8-bit register", check_eeprom},
    {"eeprom, 16-bit register", check_large_eeprom},
    {"firmware version", check_version},
    {"temperature sensor", check_temperature},
};

/* Gives the operator the chance to stop before the devices are touched. */
static bool is_stopped(void)
{
    if (!isatty(STDIN_FILENO)) {
        return false;
    }
    diag_print(0, "press a key to stop\n");
    fflush(stdout);
    return wait_key_pressed(1) != -1;
}

int main(int argc, char **argv)
{
    bool failed = false;
    int arch = 0;

    snprintf(pipe_path, sizeof pipe_path, "%s/board_check_%d", argc > 1 ? argv[1] : "/tmp", (int)getpid());
    diag_system_init("board_check");
    if (get_cpu_arch(&arch) == 0) {
        diag_print(0, "host processor: %s\n", arch == CPU_ARCH_X86 ? "x86" : "Arm");
    }
    if (is_stopped()) {
        return EXIT_FAILURE;
    }
    for (size_t i = 0; i < sizeof checks / sizeof *checks; i++) {
        const bool passed = checks[i].run();

        print_test_result(checks[i].name, !passed);
        failed = failed || !passed;
    }
    return failed ? EXIT_FAILURE : EXIT_SUCCESS;
}
