/* SPDX-License-Identifier: MIT */
#include <array>
#include <cstdlib>
#include <cstring>

#include <boarddiag/devtree.h>

#include "core/reason.h"
#include "core/report.h"
#include "devtree/identifier.h"
#include "devtree/tree_build.h"
#include "devtree/tree_index.h"

namespace {

using boarddiag::tree_build;

// The steps carry the names of the public functions whose work they do, and so do their reports.

constexpr uint32_t max_proc_interface = 24;
constexpr int32_t unknown_mux_param = -1;

template <typename Node> Node *make_node()
{
    return static_cast<Node *>(calloc(1, sizeof(Node)));
}

struct mux_part {
    const char *word;
    int32_t param;
};

constexpr std::array<mux_part, 3> mux_parts{{{"PCA9541", 10}, {"PCA9547", 0}, {"PCA9548", 0}}};

int32_t mux_param_of(const char *function, const char *mux_type)
{
    for (const mux_part &part : mux_parts) {
        if (mux_type != nullptr && strstr(mux_type, part.word) != nullptr) {
            return part.param;
        }
    }
    REPORT_ERROR(function, "mux_type %s is invalid\n", mux_type != nullptr ? mux_type : "(none)");
    return unknown_mux_param;
}

[[gnu::noinline]] uint32_t add_mux_entry_to_proc_info(const tree_build &build, pf_dev *mux)
{
    if (mux == nullptr || build.proc_info == nullptr) {
        REPORT_ERROR(__func__, "Pointers received are NULL \n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (build.if_num > max_proc_interface) {
        REPORT_ERROR(__func__, "Configured interface num %d is > max no of interfaces [%d] configured\n",
                     build.if_num, max_proc_interface);
        return DIAG_ERR_INVALID_ARG;
    }
    auto *node = make_node<proc_mux_node>();
    if (node == nullptr) {
        REPORT_ERROR(__func__, "Couldn't allocate memory for new mux node\n");
        return DIAG_ERR_NO_MEMORY;
    }
    node->dev = mux;
    node->mux_param = mux_param_of(__func__, mux->mux_type);
    *boarddiag::tail_of(build.index, &build.proc_info->i2c[build.if_num].muxes) = node;
    return 0;
}

// Finds the node of a path name or appends it.
uint32_t find_or_add_node(const char *function, const tree_build &build, if_tree *container, const char *name,
                          mux_tree **node)
{
    const auto place = boarddiag::find(build.index, &container->muxes, {name, 0});
    if (place.found != nullptr) {
        *node = place.found;
        return 0;
    }
    if (*place.end != nullptr) {
        REPORT_ERROR(function, "Invalid tree\n");
        return DIAG_ERR_INVALID_ARG;
    }
    auto *added = make_node<mux_tree>();
    if (added == nullptr) {
        REPORT_ERROR(function, "Couldn't allocate memory\n");
        return DIAG_ERR_NO_MEMORY;
    }
    set_mux_tree_defaults(added);
    memcpy(added->name, name, strlen(name)); // the rest of the name is zero already
    *place.end = *node = added;
    return 0;
}

[[gnu::noinline]] uint32_t check_add_mux_entry(const tree_build &build, if_tree *container, pf_dev *dev,
                                               const char *name, mux_tree **node, bool register_dev)
{
    if (container == nullptr || dev == nullptr || name == nullptr) {
        REPORT_ERROR(__func__, "Pointers received are NULL \n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (build.daemon && build.proc_info == nullptr) {
        REPORT_ERROR(__func__, "Proc info pointers should not be null for devid daemon\n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (!boarddiag::is_id_length(__func__, name)) {
        return DIAG_ERR_INVALID_ARG;
    }
    if (register_dev && dev->mux_type == nullptr) {
        return boarddiag::list_device(__func__, build, container, dev);
    }
    mux_tree *entry = nullptr;
    uint32_t status = find_or_add_node(__func__, build, container, name, &entry);
    if (entry != nullptr && register_dev && !entry->is_mux) {
        entry->is_mux = true;
        entry->dev = dev;
        status = build.daemon ? add_mux_entry_to_proc_info(build, dev) : 0;
    }
    if (entry != nullptr && node != nullptr) {
        *node = entry;
    }
    return status;
}

uint32_t enter_channel(const char *function, const tree_build &build, mux_tree *node, int32_t sel,
                       if_tree **container)
{
    if (node == nullptr) {
        REPORT_FOLLOW_UP(function, "Invalid tree\n");
        return DIAG_ERR_INVALID_ARG;
    }
    const auto place = boarddiag::find(build.index, &node->channels, {nullptr, sel});
    mux_channel *channel = place.found;
    if (channel == nullptr) {
        channel = make_node<mux_channel>();
        if (channel == nullptr) {
            REPORT_ERROR(function, "Couldn't allocate space for node \n");
            return DIAG_ERR_NO_MEMORY;
        }
        channel->sel = sel;
        *place.end = channel;
    }
    *container = &channel->tree;
    return 0;
}

uint32_t read_channel(const char *function, std::string_view *rest, std::string_view *token, int32_t *sel)
{
    const auto syntax = boarddiag::take_channel(rest, token, sel);
    if (syntax == boarddiag::channel_syntax::missing) {
        REPORT_ERROR(function, "Invalid dev id\n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (syntax == boarddiag::channel_syntax::malformed) {
        REPORT_ERROR(function, "Invalid device-id format. \n");
        return DIAG_ERR_INVALID_ARG;
    }
    REPORT_TRACE(function, 3, "Mux channel selection value is %d\n", *sel);
    return 0;
}

uint32_t follow_hop(const char *function, const tree_build &build, pf_dev *dev, boarddiag::path_text *path,
                    std::string_view *rest, if_tree **container)
{
    REPORT_TRACE(function, 3, "Current dev id segment %s\n", path->text);
    mux_tree *node = nullptr;
    if (check_add_mux_entry(build, *container, dev, path->text, &node, false) != 0) {
        REPORT_TRACE(function, 3, "Couldn't add mux entry to device tree\n");
    }
    std::string_view token;
    int32_t sel = 0;
    const uint32_t status = read_channel(function, rest, &token, &sel);
    if (status != 0) {
        boarddiag::set_reason("the channel behind %s in device id %s cannot be read", path->text,
                              dev->dev_id);
        return status;
    }
    append(path, "-");
    append(path, token);
    append(path, ".");
    return enter_channel(function, build, node, sel, container);
}

// Follows the hops of an identifier, making what is missing, to the container that its last segment is in.
uint32_t walk_path(const char *function, const tree_build &build, pf_dev *dev, if_tree **container)
{
    std::string_view rest = dev->dev_id;
    std::string_view segment;
    boarddiag::path_text path{};
    bool is_hop = boarddiag::take_hop(&rest, &segment);
    uint32_t status = 0;
    while (is_hop && status == 0) {
        append(&path, segment);
        status = follow_hop(function, build, dev, &path, &rest, container);
        is_hop = boarddiag::take_hop(&rest, &segment);
    }
    return status;
}

} // namespace

bool boarddiag::is_id_length(const char *function, const char *id)
{
    if (strlen(id) <= max_id_length) {
        return true;
    }
    REPORT_ERROR(function, "Device id %s is longer than %d characters\n", id,
                 static_cast<int>(max_id_length));
    return false;
}

uint32_t boarddiag::list_device(const char *function, const tree_build &build, if_tree *container,
                                pf_dev *dev)
{
    auto *entry = make_node<dev_entry>();
    if (entry == nullptr) {
        REPORT_ERROR(function, "Couldn't allocate memory\n");
        return DIAG_ERR_NO_MEMORY;
    }
    entry->dev = dev;
    *boarddiag::tail_of(build.index, &container->devs) = entry;
    return 0;
}

uint32_t boarddiag::update_dev_mux_interface_tree(const tree_build &build, pf_dev *dev, if_tree *tree)
{
    if (dev == nullptr || tree == nullptr || dev->dev_id == nullptr) {
        REPORT_ERROR(__func__, "Received is a NULL pointer\n");
        return DIAG_ERR_INVALID_ARG;
    }
    if (!is_id_length(__func__, dev->dev_id)) {
        return DIAG_ERR_INVALID_ARG;
    }
    if_tree *container = tree;
    uint32_t status = walk_path(__func__, build, dev, &container);
    if (status != 0) {
        return status;
    }
    mux_tree *node = nullptr;
    status = check_add_mux_entry(build, container, dev, dev->dev_id, &node, true);
    if (status != 0) {
        REPORT_TRACE(__func__, 3, "Couldn't add mux entry properly to device tree\n");
    }
    return status;
}

uint32_t update_dev_mux_interface_tree(struct pf_dev *dev, uint32_t if_num, struct if_tree *tree, bool daemon,
                                       struct proc_info *proc_info)
{
    return boarddiag::update_dev_mux_interface_tree({if_num, daemon, proc_info, nullptr}, dev, tree);
}

uint32_t check_add_mux_entry(struct if_tree *container, struct pf_dev *dev, const char *name, uint32_t if_num,
                             struct mux_tree **node, bool register_dev, bool daemon,
                             struct proc_info *proc_info)
{
    return check_add_mux_entry({if_num, daemon, proc_info, nullptr}, container, dev, name, node,
                               register_dev);
}

uint32_t add_mux_entry_to_proc_info(struct pf_dev *mux, uint32_t if_num, struct proc_info *proc_info)
{
    return add_mux_entry_to_proc_info({if_num, true, proc_info, nullptr}, mux);
}

void set_mux_tree_defaults(struct mux_tree *node)
{
    if (node == nullptr) {
        REPORT_ERROR(__func__, "Mux tree is NULL pointer\n");
        return;
    }
    node->dev = nullptr;
    node->next = nullptr;
    node->is_mux = false;
    node->channels = nullptr;
}
