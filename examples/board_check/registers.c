/* SPDX-License-Identifier: MIT */
/* GPIO pins, LPC I/O registers, PCI configuration space, physical memory. */
#include <boarddiag.h>

#include <string.h>

#include "checks.h"

#define LPC_SCRATCH 0x0300
#define PCI_DEVICE 31
#define PCI_SCRATCH 0x40
#define MEM_SCRATCH 0x80001000u

static bool check_gpio(void)
{
    for (uint8_t level = 0; level < 2; level++) {
        uint8_t found = 0xff;

        if (gpiotool_set(0, 17, &level, 0) != 0 || gpiotool_get(0, 17, pipe_path, &found) != 0 ||
            found != level) {
            return false;
        }
    }
    return true;
}

static bool check_lpc(void)
{
    static const uint8_t pattern[] = {0x01, 0xa5, 0x5a};
    uint8_t data[sizeof pattern] = {0};

    return lpctool_set(LPC_SCRATCH, pattern, sizeof pattern, 'b', 0) == 0 &&
           lpctool_get(LPC_SCRATCH, sizeof data, 'b', pipe_path, data) == 0 &&
           memcmp(data, pattern, sizeof pattern) == 0;
}

static bool check_pci_identity(void)
{
    static const uint8_t vendor_device[] = {0xad, 0xb0, 0x01, 0x0d};
    uint8_t data[sizeof vendor_device] = {0};

    return pcitool_get(0, PCI_DEVICE, 0, 0x00, data, pipe_path, sizeof data, 8) == 0 &&
           memcmp(data, vendor_device, sizeof data) == 0;
}

static bool check_pci_write(void)
{
    static const uint8_t pattern[] = {0x12, 0x34};
    uint8_t data[sizeof pattern] = {0};

    return pcitool_set(0, PCI_DEVICE, 0, PCI_SCRATCH, pattern, sizeof pattern, 0, 8) == 0 &&
           pcitool_get(0, PCI_DEVICE, 0, PCI_SCRATCH, data, pipe_path, sizeof data, 8) == 0 &&
           memcmp(data, pattern, sizeof data) == 0;
}

static bool check_memory(void)
{
    static const uint64_t pattern[2] = {0x0123456789abcdefu, 0xfedcba9876543210u};

    for (int32_t width = 8; width <= 64; width *= 2) {
        const int32_t count = (int32_t)sizeof pattern * 8 / width;
        uint64_t data[2] = {0};

        if (memtool_set(MEM_SCRATCH, width, pattern, count, 0) != 0 ||
            memtool_get(MEM_SCRATCH, count, width, pipe_path, 0, (uint8_t *)data) != 0 ||
            memcmp(data, pattern, sizeof data) != 0) {
            return false;
        }
    }
    return true;
}

static bool check_memory_byte_order(void)
{
    static const uint32_t value = 0x11223344;
    uint8_t data[4] = {0};

    return memtool_set(MEM_SCRATCH, 32, &value, 1, 0) == 0 &&
           memtool_get(MEM_SCRATCH, 1, 32, pipe_path, 1, data) == 0 &&
           memcmp(data, "\x11\x22\x33\x44", sizeof data) == 0;
}

const struct check register_checks[] = {
    {"gpio pin", check_gpio},
    {"lpc registers", check_lpc},
    {"pci identity", check_pci_identity},
    {"pci write", check_pci_write},
    {"memory", check_memory},
    {"memory, big-endian", check_memory_byte_order},
    {NULL, NULL},
};
