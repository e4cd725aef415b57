/* SPDX-License-Identifier: MIT */
#ifndef BOARDDIAG_DEVTREE_H
#define BOARDDIAG_DEVTREE_H

#include <stdbool.h>
#include <stdint.h>
#include <time.h>

#include <boarddiag/decls.h>

BOARDDIAG_BEGIN_DECLS

struct busbroker_req_resp;
struct tool_info;

struct pf_dev {
    const char *dev_id;
    const char *interface;
    const char *mux_type;
    struct pf_dev *next;
};
struct dev_entry {
    struct pf_dev *dev;
    struct dev_entry *next;
};
struct if_tree {
    struct dev_entry *devs;
    struct mux_tree *muxes;
};
struct mux_channel {
    struct if_tree tree;
    int32_t sel;
    struct mux_channel *next;
};
struct mux_tree {
    struct pf_dev *dev;
    char name[33];
    bool is_mux;
    struct mux_channel *channels;
    struct mux_tree *next;
};
struct pf_tree {
    struct if_tree pci, lpc, mem, gpio, i2c[26];
};
struct proc_mux_node {
    struct pf_dev *dev;
    int32_t mux_param;
    struct proc_mux_node *next;
};
struct proc_i2c_if {
    struct proc_mux_node *muxes;
};
struct proc_info {
    struct proc_i2c_if i2c[25];
};
uint32_t update_pf_tree(struct pf_dev *devs, struct pf_tree *tree, bool daemon, struct proc_info *proc_info);
uint32_t update_dev_mux_interface_tree(struct pf_dev *dev, uint32_t if_num, struct if_tree *tree, bool daemon,
                                       struct proc_info *proc_info);
uint32_t check_add_mux_entry(struct if_tree *container, struct pf_dev *dev, const char *name, uint32_t if_num,
                             struct mux_tree **node, bool register_dev, bool daemon,
                             struct proc_info *proc_info);
uint32_t add_mux_entry_to_proc_info(struct pf_dev *mux, uint32_t if_num, struct proc_info *proc_info);
void set_mux_tree_defaults(struct mux_tree *node);

struct dyn_dev_id {
    int32_t id;
    bool is_valid;
    char name[33];
    struct dyn_dev_id *next;
};
uint32_t update_bus_dev_acces_req_fields(struct busbroker_req_resp *req, int asset_flag, uint8_t bus_arg1,
                                         uint8_t bus_arg2, uint8_t bus_arg4, uint8_t bus_arg3,
                                         const char *asset_id);
uint32_t request_bus_dev_access(struct busbroker_req_resp *req, struct tool_info *tool, uint8_t bus_arg1,
                                uint8_t bus_arg2, int asset_flag, uint8_t bus_arg3, const char *asset_id,
                                const char *dev_id, const char *dev_name, timer_t timer);
uint32_t update_dyn_dev_access_req_fields(struct busbroker_req_resp *req, uint16_t otf_id, uint16_t otf_arg,
                                          uint8_t *resp_buf);
uint32_t request_otf_dev_id(struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                            const char *dev_name, timer_t timer, int number, uint16_t otf_arg,
                            const char **name, struct dyn_dev_id **list);
const char *update_dyn_dev_id_list(struct dyn_dev_id **list, const char *text, int number);
const char *check_dyn_dev_list(const struct dyn_dev_id *list, int number);

BOARDDIAG_END_DECLS

#endif
