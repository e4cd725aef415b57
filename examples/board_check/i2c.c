/* SPDX-License-Identifier: MIT */
/* The devices on the I2C bus: two EEPROMs, the firmware's version in one of them, a temperature sensor. */
#include <boarddiag.h>

#include <string.h>

#include "checks.h"

#define BUS "3"
#define EEPROM 0x50
#define LARGE_EEPROM 0x51
#define SENSOR 0x48

#define SCRATCH_REG 0xf0 /* registers of the EEPROM that nobody uses */
#define LARGE_SCRATCH_REG 0x1f00
#define VERSION_REG 0x20
#define VERSION_LENGTH 10
#define IMAGE_TYPE 2 /* what the sample board's firmware says of itself */

static bool reads(uint8_t addr, uint16_t reg, const struct reg_info *info, const void *expected,
                  size_t length)
{
    uint8_t data[64] = {0};

    return i2ctool_get(BUS, addr, reg, info, (int32_t)length, pipe_path, data) == 0 &&
           memcmp(data, expected, length) == 0;
}

static bool check_eeprom(void)
{
    static const char text[] = "BOARDSIM SAMPLE EEPROM";
    uint8_t head[40] = {0};

    if (i2ctool_get(BUS, EEPROM, 0x00, &regblk_datablk, sizeof head, pipe_path, head) != 0) {
        return false;
    }
    dump_hex(head, 32, sizeof head, 0x00, 1, 1, 0);
    return reads(EEPROM, 0x00, &reg8_data8, text, sizeof text); /* with its end: all of it, no prefix */
}

static bool check_large_eeprom(void)
{
    static const char text[] = "BOARDSIM LARGE EEPROM";

    return reads(LARGE_EEPROM, 0x0100, &reg16_data8, text, sizeof text);
}

/* Writes a pattern and its complement, so that no stuck bit goes unseen. */
static bool check_eeprom_write(void)
{
    static const uint8_t patterns[2][4] = {{0x55, 0xaa, 0x0f, 0x01}, {0xaa, 0x55, 0xf0, 0xfe}};

    for (size_t i = 0; i < 2; i++) {
        if (i2ctool_set(BUS, EEPROM, SCRATCH_REG, &reg8_data8, patterns[i], 4, 0, 0) != 0 ||
            !reads(EEPROM, SCRATCH_REG, &reg8_data8, patterns[i], 4)) {
            return false;
        }
    }
    return true;
}

static bool check_large_eeprom_write(void)
{
    static const uint8_t pattern[] = {0x12, 0x34, 0x56};

    return i2ctool_set_no_cntrl(BUS, LARGE_EEPROM, LARGE_SCRATCH_REG, &reg16_data8, pattern, sizeof pattern,
                                1, 0) == 0 &&
           reads(LARGE_EEPROM, LARGE_SCRATCH_REG, &reg16_data8, pattern, sizeof pattern);
}

static bool check_presence(void)
{
    return i2ctool_set_no_data(NULL, 1, BUS, SENSOR) == 0;
}

static bool check_version(void)
{
    char version[VERSION_LENGTH + 1] = "";

    if (i2ctool_get_no_cntrl(BUS, EEPROM, VERSION_REG, &reg8_data8, sizeof version, pipe_path,
                             (uint8_t *)version) != 0 ||
        version[VERSION_LENGTH] != '\0') { /* the beginning of a longer one */
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

    if (i2ctool_get(BUS, SENSOR, 0x00, &reg8_data16, sizeof reg, pipe_path, (uint8_t *)&reg) != 0) {
        return false;
    }
    byte_swap_p(&reg, &reg, 16);
    if (get_twos_complement_val(get_field_val(4, 15, reg), 12, 4, &degrees) != 0) {
        return false;
    }
    diag_print(0, "temperature %.4f degrees\n", (double)degrees);
    return degrees > -40.0f && degrees < 75.0f;
}

const struct check i2c_checks[] = {
    {"i2c eeprom", check_eeprom},
    {"i2c eeprom, 16-bit register", check_large_eeprom},
    {"i2c eeprom write", check_eeprom_write},
    {"i2c eeprom write, 16-bit register", check_large_eeprom_write},
    {"i2c device presence", check_presence},
    {"i2c firmware version", check_version},
    {"i2c temperature sensor", check_temperature},
    {NULL, NULL},
};
