/* SPDX-License-Identifier: MIT */
/* The board's devices as a tree of interfaces, multiplexers and channels, made from a list of identifiers. */
#include <boarddiag.h>

#include <string.h>

#include "checks.h"

static struct pf_dev devices[] = {
    {"EEPROM", "i2c-3", NULL, NULL},   {"M1-3.M2-1.TEMP", "i2c-0", NULL, NULL},
    {"M1", "i2c-0", "PCA9548", NULL},  {"M1-3.M2", "i2c-0", "PCA9541", NULL},
    {"M1-4.FAN", "i2c-0", NULL, NULL}, {"BRIDGE", "pci", NULL, NULL},
    {"FPGA", "lpc", NULL, NULL},       {"RESET", "gpio", NULL, NULL},
};

static size_t print_devices(const struct dev_entry *entry, int indent)
{
    size_t count = 0;

    for (; entry != NULL; entry = entry->next) {
        diag_print(0, "%s%s\n", fillWith(' ', indent), entry->dev->dev_id);
        count++;
    }
    return count;
}

/* What is linked below an interface or a channel, one line a node. The depth is that of the identifiers. */
static size_t print_tree(const struct if_tree *tree, int indent)
{
    size_t count = print_devices(tree->devs, indent);

    for (const struct mux_tree *mux = tree->muxes; mux != NULL; mux = mux->next) {
        diag_print(0, "%s%s (%s)\n", fillWith(' ', indent), mux->name,
                   mux->is_mux ? mux->dev->mux_type : "?");
        count += mux->is_mux ? 1 : 0;
        for (const struct mux_channel *channel = mux->channels; channel != NULL; channel = channel->next) {
            diag_print(0, "%schannel %d\n", fillWith(' ', indent + 2), (int)channel->sel + 1);
            count += print_tree(&channel->tree, indent + 4);
        }
    }
    return count;
}

static size_t print_interface(const char *name, int number, const struct if_tree *tree)
{
    if (tree->devs == NULL && tree->muxes == NULL) {
        return 0;
    }
    if (number < 0) {
        diag_print(0, "%s\n", name);
    } else {
        diag_print(0, "%s-%d\n", name, number);
    }
    return print_tree(tree, 2);
}

static bool check_tree(void)
{
    static struct pf_tree tree;
    const size_t listed = sizeof devices / sizeof *devices;
    size_t found = 0;

    for (size_t i = 0; i + 1 < listed; i++) {
        devices[i].next = &devices[i + 1];
    }
    if (update_pf_tree(devices, &tree, false, NULL) != 0) {
        return false;
    }
    for (int i = 0; i < 26; i++) {
        found += print_interface("i2c", i, &tree.i2c[i]);
    }
    found += print_interface("pci", -1, &tree.pci);
    found += print_interface("lpc", -1, &tree.lpc);
    found += print_interface("mem", -1, &tree.mem);
    found += print_interface("gpio", -1, &tree.gpio);
    return found == listed;
}

const struct check tree_checks[] = {
    {"device tree", check_tree},
    {NULL, NULL},
};
