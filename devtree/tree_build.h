/* SPDX-License-Identifier: MIT */
// How a device finds its place in the tree, for the platform tree that is built device by device.
#ifndef BOARDDIAG_DEVTREE_TREE_BUILD_H
#define BOARDDIAG_DEVTREE_TREE_BUILD_H

#include <cstdint>

#include <boarddiag/devtree.h>

namespace boarddiag {

/// What stays the same while one descriptor finds its place.
struct tree_build {
    uint32_t if_num;
    bool daemon;
    struct proc_info *proc_info;
    struct tree_index *index; // null: walk the lists
};

// mux_tree.cpp

/// Whether an identifier or a path name has a length that names have room for; reports in the name of
/// `function` when it has not.
bool is_id_length(const char *function, const char *id);

/// Appends a device to the list of a container; reports in the name of `function`.
/// @return 0 or DIAG_ERR_NO_MEMORY.
uint32_t list_device(const char *function, const tree_build &build, if_tree *container, pf_dev *dev);

/// The public function of this name, with an index; it reports as that one does.
uint32_t update_dev_mux_interface_tree(const tree_build &build, pf_dev *dev, if_tree *tree);

} // namespace boarddiag

#endif
