/* SPDX-License-Identifier: MIT */
/* The management controller: its identity, its registers, and the I2C devices that it reaches. */
#include <boarddiag.h>

#include <string.h>

#include "checks.h"

#define BUS "0-3" /* the number behind the dash is the bus */
#define EEPROM 0x50
#define EEPROM_8BIT (2 * 0x50)
#define PEC_EEPROM_8BIT (2 * 0x52) /* takes no write without a packet error code */
#define SCRATCH_REG 0xe0
#define OEM_REG 0x4321

#define NETFN_APP 0x06
#define CMD_GET_DEVICE_ID 0x01
#define DEVICE_ID_LENGTH 15 /* without the completion code */
#define IPMI_VERSION_AT 4   /* 0x02: version 2.0, the digits swapped */

static bool check_device_id(void)
{
    uint8_t id[DEVICE_ID_LENGTH];

    if (ipmitool2_get(NETFN_APP, CMD_GET_DEVICE_ID, 0, NULL, sizeof id, id) != 0) {
        return false;
    }
    diag_print(0, "management controller: firmware %d.%02x\n", id[2] & 0x7f, id[3]);
    return id[IPMI_VERSION_AT] == 0x02;
}

static bool check_oem_register(void)
{
    static const uint8_t value[4] = {0xde, 0xad, 0xbe, 0xef};
    uint8_t data[4] = {0};

    return ipmitool_set(NULL, 0x19, OEM_REG, NULL, value, 4, 0) == 0 &&
           ipmitool_get(NULL, 0x18, OEM_REG, NULL, 4, NULL, data) == 0 && memcmp(data, value, 4) == 0;
}

/* Both take the arguments of the direct access, so that a test can switch between the roads to a device. */
static bool check_raw_i2c(void)
{
    static const uint8_t pattern[3] = {0x11, 0x22, 0x33};
    uint8_t data[3] = {0};

    return ipmitool_set(BUS, EEPROM, SCRATCH_REG, &reg8_data8, pattern, sizeof pattern, 1) == 0 &&
           ipmitool_get(BUS, EEPROM, SCRATCH_REG, &reg8_data8, sizeof data, pipe_path, data) == 0 &&
           memcmp(data, pattern, sizeof pattern) == 0;
}

static bool check_bridged_i2c(void)
{
    static const uint8_t pattern[4] = {0x9a, 0xbc, 0xde, 0xf0};
    uint8_t data[4] = {0};

    return ipmii2c_set(BUS, EEPROM_8BIT, SCRATCH_REG, &reg8_data16, pattern, 2, 0) == 0 &&
           ipmii2c_get(BUS, EEPROM_8BIT, SCRATCH_REG, &reg8_data16, 2, pipe_path, data) == 0 &&
           memcmp(data, pattern, sizeof pattern) == 0;
}

static bool check_bridged_i2c_pec(void)
{
    static const uint8_t pattern[2] = {0x5a, 0xa5};
    uint8_t data[2] = {0};

    return ipmii2c2_set(BUS, PEC_EEPROM_8BIT, SCRATCH_REG, &reg8_data8, pattern, 2, 1) == 0 &&
           ipmii2c2_get(BUS, PEC_EEPROM_8BIT, SCRATCH_REG, &reg8_data8, 2, data) == 0 &&
           memcmp(data, pattern, sizeof pattern) == 0;
}

const struct check ipmi_checks[] = {
    {"ipmi device id", check_device_id},
    {"ipmi oem register", check_oem_register},
    {"ipmi i2c", check_raw_i2c},
    {"ipmi bridged i2c", check_bridged_i2c},
    {"ipmi bridged i2c with pec", check_bridged_i2c_pec},
    {NULL, NULL},
};
