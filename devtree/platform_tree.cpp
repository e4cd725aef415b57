/* SPDX-License-Identifier: MIT */
#include <array>
#include <cstdlib>
#include <cstring>

#include <boarddiag/devtree.h>

#include "core/reason.h"
#include "core/report.h"
#include "devtree/tree_build.h"
#include "devtree/tree_index.h"

namespace {

using boarddiag::tree_build;

constexpr unsigned long max_interface = 25;
constexpr size_t indexed_from = 64; // below so many descriptors walking the lists is as fast

struct plain_interface {
    const char *word;
    if_tree pf_tree::*tree;
};

constexpr std::array<plain_interface, 4> plain_interfaces{{
    {"pci", &pf_tree::pci},
    {"mem", &pf_tree::mem},
    {"lpc", &pf_tree::lpc},
    {"gpio", &pf_tree::gpio},
}};

uint32_t interface_number(const char *function, const char *interface, uint32_t *if_num)
{
    const char *dash = strchr(interface, '-');
    if (dash == nullptr) {
        REPORT_ERROR(function, "Invalid interface %s\n", interface);
        return DIAG_ERR_INVALID_ARG;
    }
    // As an unsigned value a negative number is too large as well.
    const auto number = static_cast<unsigned long>(strtol(dash + 1, nullptr, 10));
    if (number > max_interface) {
        REPORT_TRACE(function, 3, "Interface num %s exceeded max allowed I2C if no %d\n", dash + 1,
                     static_cast<int>(max_interface));
        boarddiag::set_reason("there is no I2C interface %s, the highest is %lu", dash + 1, max_interface);
        return DIAG_ERR_INVALID_ARG;
    }
    *if_num = static_cast<uint32_t>(number);
    return 0;
}

if_tree *plain_tree(pf_tree *tree, const char *interface)
{
    for (const plain_interface &plain : plain_interfaces) {
        if (strstr(interface, plain.word) != nullptr) {
            return &(tree->*plain.tree);
        }
    }
    return nullptr;
}

// Lists a device that no path leads to. An identifier that is too long is a failure that does not end the
// walk.
uint32_t list_plain(const char *function, const tree_build &build, if_tree *container, pf_dev *dev,
                    uint32_t *last)
{
    if (dev->dev_id != nullptr && !boarddiag::is_id_length(function, dev->dev_id)) {
        *last = DIAG_ERR_INVALID_ARG;
        return 0;
    }
    return boarddiag::list_device(function, build, container, dev);
}

// Places a descriptor. Returns the status that ends the walk over the list; a failure that does not end it
// goes to `last`, as every result of an identifier's walk does.
uint32_t place_device(const char *function, tree_build build, pf_dev *dev, pf_tree *tree, uint32_t *last)
{
    const char *interface = dev->interface != nullptr ? dev->interface : "";
    if (strstr(interface, "i2c") == nullptr) {
        if_tree *plain = plain_tree(tree, interface);
        return plain != nullptr && dev->mux_type == nullptr ? list_plain(function, build, plain, dev, last)
                                                            : 0;
    }
    const uint32_t status = interface_number(function, interface, &build.if_num);
    if (status != 0) {
        return status;
    }
    if_tree *target = &tree->i2c[build.if_num];
    if (dev->dev_id != nullptr && strchr(dev->dev_id, '-') == nullptr && dev->mux_type == nullptr) {
        return list_plain(function, build, target, dev, last);
    }
    *last = boarddiag::update_dev_mux_interface_tree(build, dev, target);
    return 0;
}

uint32_t place_devices(const char *function, const tree_build &build, pf_dev *devs, pf_tree *tree)
{
    uint32_t last = 0;
    for (pf_dev *dev = devs; dev != nullptr; dev = dev->next) {
        const uint32_t status = place_device(function, build, dev, tree, &last);
        if (status != 0) {
            return status;
        }
    }
    diag_print(3, "I2C tree building completed\n");
    return last;
}

} // namespace

uint32_t update_pf_tree(struct pf_dev *devs, struct pf_tree *tree, bool daemon, struct proc_info *proc_info)
{
    if (devs != nullptr && tree == nullptr) {
        REPORT_ERROR(__func__, "Received is a NULL pointer\n");
        return DIAG_ERR_INVALID_ARG;
    }
    size_t count = 0;
    for (const pf_dev *dev = devs; dev != nullptr; dev = dev->next) {
        count++;
    }
    boarddiag::tree_index index{};
    if (count >= indexed_from) {
        boarddiag::index_open(&index, count);
    }
    const uint32_t status = place_devices(__func__, {0, daemon, proc_info, &index}, devs, tree);
    boarddiag::index_close(&index);
    return status;
}
