/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The platform's device tree, built from device identifiers, and what the bus broker tells about devices:
 * access to a bus, and identifiers that are assigned at run time.
 *
 * A device identifier spells the way to a device: zero or more hops, each a mux segment, "-", a channel
 * number and ".", then the device's own name. "M1-3.M2-1.TEMP" is the device TEMP behind channel 1 of the mux
 * M2, which sits behind channel 3 of the mux M1; the identifier of that M2 is "M1-3.M2". Channel numbers are
 * hexadecimal and count from 1. Extra "-" before a segment and extra "." before a channel number are skipped.
 * "M1-3" is a device attached directly to that channel, and an identifier without "-" one on the interface.
 *
 * Nothing here takes a lock: a tree, a list or a record is for one thread at a time.
 */
#ifndef BOARDDIAG_DEVTREE_H
#define BOARDDIAG_DEVTREE_H

#include <stdbool.h>
#include <stdint.h>
#include <sys/types.h>

#include <boarddiag/decls.h>

BOARDDIAG_BEGIN_DECLS

struct busbroker_req_resp;
struct tool_info;

/* ---- The tree (devtree/mux_tree). Every list has the order in which its elements were added. ---- */

/** A device descriptor. Owned by the caller; it must outlive every tree that it was put into. */
struct pf_dev {
    const char *dev_id; /**< device identifier; at most 32 characters where it names a mux or a path */
    const char
        *interface;       /**< contains "i2c" with "-" and a decimal number, or "pci", "mem", "lpc", "gpio" */
    const char *mux_type; /**< of a mux: contains "PCA9541", "PCA9547" or "PCA9548"; null: a plain device */
    struct pf_dev *next;  /**< next descriptor, null at the end */
};

/** A device in a list. */
struct dev_entry {
    struct pf_dev *dev;     /**< its descriptor */
    struct dev_entry *next; /**< next device, null at the end */
};

/** What hangs on an interface, or behind a channel of a mux. */
struct if_tree {
    struct dev_entry *devs; /**< devices attached directly */
    struct mux_tree *muxes; /**< muxes attached directly, registered or only named by a path so far */
};

/** A channel in use of a mux. */
struct mux_channel {
    struct if_tree tree;      /**< what hangs behind it */
    int32_t sel;              /**< its selection value: the channel number less 1 */
    struct mux_channel *next; /**< next channel of the mux, null at the end */
};

/** A mux, or the place of one whose descriptor has not come yet. */
struct mux_tree {
    struct pf_dev *dev;           /**< the mux's descriptor; null until it is registered */
    char name[33];                /**< path name of the node */
    bool is_mux;                  /**< the mux is registered */
    struct mux_channel *channels; /**< channels in use */
    struct mux_tree *next;        /**< next node of the same level, null at the end */
};

/** The platform tree. Of all but `i2c` only the device lists are used. */
struct pf_tree {
    struct if_tree pci;     /**< PCI devices */
    struct if_tree lpc;     /**< LPC devices */
    struct if_tree mem;     /**< devices in physical memory */
    struct if_tree gpio;    /**< GPIO devices */
    struct if_tree i2c[26]; /**< one tree for each I2C interface, 0 to 25 */
};

/** A mux in the record of the device-id daemon. */
struct proc_mux_node {
    struct pf_dev *dev;         /**< its descriptor */
    int32_t mux_param;          /**< 10 for a PCA9541, 0 for a PCA9547 or PCA9548, -1 for an unknown part */
    struct proc_mux_node *next; /**< next mux of the interface, null at the end */
};

/** One I2C interface of the device-id daemon's record. */
struct proc_i2c_if {
    struct proc_mux_node *muxes; /**< the muxes found on it, on whatever level */
};

/** The device-id daemon's record; it covers the interfaces 0 to 24 only. */
struct proc_info {
    struct proc_i2c_if i2c[25]; /**< by interface number */
};

/**
 * Puts the devices of a list into the platform tree.
 *
 * PCI, memory, LPC and GPIO devices are listed, unless they have a mux type; I2C devices are placed as
 * update_dev_mux_interface_tree() does, where those without "-" in their identifier and without a mux type
 * are only listed; a descriptor of any other interface is skipped. A device of a list that is put in twice is
 * listed twice, muxes and channels are found again. The time taken is in proportion to the number of
 * descriptors and to the size of the tree that is already there.
 *
 * An identifier that cannot be placed does not end the walk over the list. A malformed I2C interface, an
 * interface number above 25 and a failed allocation for a listed device do. What was linked stays linked.
 *
 * @param devs      head of the list; null is an empty list.
 * @param tree      the tree to extend; its nodes are allocated with malloc() and belong to it.
 * @param daemon    true: enter every mux into `proc_info` too, when it is registered.
 * @param proc_info the daemon's record; may be null unless `daemon` is set.
 * @return the status of the last device that was placed by its identifier, 0 when there was none;
 *         #DIAG_ERR_INVALID_ARG for a null `tree` or when the walk ended on an interface;
 *         #DIAG_ERR_NO_MEMORY when it ended for want of memory.
 */
uint32_t update_pf_tree(struct pf_dev *devs, struct pf_tree *tree, bool daemon,
                        struct proc_info *proc_info) BOARDDIAG_CHECKED;

/**
 * Places one device of an I2C interface by its identifier. Muxes and channels on its way that are not there
 * yet are made, the muxes as nodes that wait for their own descriptor; then the device itself is registered.
 *
 * @param dev       the descriptor.
 * @param if_num    number of the interface.
 * @param tree      tree of the interface.
 * @param daemon    as in update_pf_tree().
 * @param proc_info as in update_pf_tree().
 * @return 0; #DIAG_ERR_INVALID_ARG for null pointers, for an identifier that is too long for a path or a mux
 *         (nothing linked), that ends where a channel number should follow or has a malformed one, for a mux
 *         that could not be made on the way, and whatever else check_add_mux_entry() refuses;
 *         #DIAG_ERR_NO_MEMORY for a channel, the device itself or the daemon's entry. What was made on the
 * way stays.
 */
uint32_t update_dev_mux_interface_tree(struct pf_dev *dev, uint32_t if_num, struct if_tree *tree, bool daemon,
                                       struct proc_info *proc_info) BOARDDIAG_CHECKED;

/**
 * Registers a device in a container, or finds or makes the node of a mux on a path.
 *
 * A plain device is listed, as often as it is given. A mux is entered once: a node that a path has made
 * becomes the registered mux. Registered muxes are found by the identifier of their descriptor, the other
 * nodes by their name.
 *
 * @param container    where to look and to add.
 * @param dev          the descriptor.
 * @param name         path name of the node, at most 32 characters.
 * @param if_num       number of the I2C interface.
 * @param node         receives the node, owned by the tree; not written for a plain device and when there is
 *                     none. It may be null.
 * @param register_dev true: register `dev` itself; false: `name` is a mux on the way.
 * @param daemon       as in update_pf_tree().
 * @param proc_info    as in update_pf_tree().
 * @return 0; #DIAG_ERR_INVALID_ARG for null pointers, a null `proc_info` with `daemon` set, a list with a
 *         registered mux that has no descriptor, or a name that is too long; #DIAG_ERR_NO_MEMORY; or the
 *         failure of add_mux_entry_to_proc_info(), with the mux registered in the tree all the same.
 */
uint32_t check_add_mux_entry(struct if_tree *container, struct pf_dev *dev, const char *name, uint32_t if_num,
                             struct mux_tree **node, bool register_dev, bool daemon,
                             struct proc_info *proc_info) BOARDDIAG_CHECKED;

/**
 * Enters a mux into the daemon's record. A part that is not known is reported and entered all the same.
 *
 * @param mux       the mux's descriptor.
 * @param if_num    number of the I2C interface, 0 to 24.
 * @param proc_info the record; it owns the new element.
 * @return 0; #DIAG_ERR_INVALID_ARG for null pointers or a higher interface number; #DIAG_ERR_NO_MEMORY.
 */
uint32_t add_mux_entry_to_proc_info(struct pf_dev *mux, uint32_t if_num,
                                    struct proc_info *proc_info) BOARDDIAG_CHECKED;

/**
 * Makes a node an unregistered one without channels or neighbours; its name is not touched.
 *
 * @param node the node; null is reported.
 */
void set_mux_tree_defaults(struct mux_tree *node);

/* ---- Bus device access (devtree/bus_access) ---- */

/**
 * Fills the parameters of a bus device access request.
 *
 * @param req        the record.
 * @param asset_flag 0: the request carries `asset_id`. The low 8 bits are stored; 1 when only they are 0.
 * @param bus_arg1   first value.
 * @param bus_arg2   second value.
 * @param bus_arg4   fourth value; it comes before the third. It travels as two decimal characters.
 * @param bus_arg3   third value.
 * @param asset_id   asset identifier, cut to 31 characters; copied when the flag is 0, else it may be null
 * and the record's stays as it is.
 * @return 0; #DIAG_ERR_INVALID_ARG for a null record, or a null `asset_id` with the flag 0: nothing stored.
 */
uint32_t update_bus_dev_acces_req_fields(struct busbroker_req_resp *req, int asset_flag, uint8_t bus_arg1,
                                         uint8_t bus_arg2, uint8_t bus_arg4, uint8_t bus_arg3,
                                         const char *asset_id) BOARDDIAG_CHECKED;

/**
 * Asks the bus broker for access to a bus device, ten times at most, with a pause of 10 s after each failure.
 * The fourth value is 30 when the flag is 0, else 100. With the flag 0 and a null `asset_id` the requests go
 * out with the parameters that the record held before.
 *
 * @param req        the record; its parameters are replaced.
 * @param tool       the client to send through.
 * @param bus_arg1   first value.
 * @param bus_arg2   second value.
 * @param asset_flag 0: the request carries `asset_id`.
 * @param bus_arg3   third value.
 * @param asset_id   asset identifier, as in update_bus_dev_acces_req_fields().
 * @param dev_id     device identifier of the request.
 * @param dev_name   device name of the request.
 * @param timer      polling timer (init_timer() mode 0) of the pauses.
 * @return 0, or #DIAG_ERR_FAILED after the tenth failure and its pause.
 */
uint32_t request_bus_dev_access(struct busbroker_req_resp *req, struct tool_info *tool, uint8_t bus_arg1,
                                uint8_t bus_arg2, int asset_flag, uint8_t bus_arg3, const char *asset_id,
                                const char *dev_id, const char *dev_name, timer_t timer) BOARDDIAG_CHECKED;

/* ---- Dynamic device identifiers (devtree/dynamic_id) ---- */

/** An identifier that the bus broker has told. */
struct dyn_dev_id {
    int32_t id;    /**< the number that it was asked for, all 32 bits */
    bool is_valid; /**< set when the element is made; lookups skip elements that the owner cleared */
    char name[33]; /**< the identifier */
    struct dyn_dev_id *next; /**< next element, null at the end */
};

/**
 * Fills the parameters of a dynamic identifier request.
 *
 * @param req      the record.
 * @param otf_id   the number.
 * @param otf_arg  the second value.
 * @param resp_buf receives the answer, 40 bytes; to stay valid until it came.
 * @return 0, or #DIAG_ERR_INVALID_ARG for a null record.
 */
uint32_t update_dyn_dev_access_req_fields(struct busbroker_req_resp *req, uint16_t otf_id, uint16_t otf_arg,
                                          uint8_t *resp_buf) BOARDDIAG_CHECKED;

/**
 * The identifier of a number: from the list when it is there, else from the bus broker, which is asked ten
 * times at most with a pause of 1 s after each failure. An answer of more than 32 characters is a failure.
 * What was answered goes into the list and is not asked for again.
 *
 * @param req      the record; its parameters are replaced. With null every try fails in request_busbroker().
 * @param tool     the client to send through.
 * @param dev_id   device identifier of the request.
 * @param dev_name device name of the request.
 * @param timer    polling timer (init_timer() mode 0) of the pauses.
 * @param number   the number; the list knows all its bits, the request carries the low 16.
 * @param otf_arg  the second value.
 * @param name     receives the identifier, owned by the list; null when the list could not take it, and not
 *                 written when no answer came.
 * @param list     address of the list's head, which the caller keeps; null head for an empty list.
 * @return 0; #DIAG_ERR_FAILED when no answer came or the list could not take it; #DIAG_ERR_INVALID_ARG when
 *         `name` or `list` is null.
 */
uint32_t request_otf_dev_id(struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                            const char *dev_name, timer_t timer, int number, uint16_t otf_arg,
                            const char **name, struct dyn_dev_id **list) BOARDDIAG_CHECKED;

/**
 * Appends an identifier to a list.
 *
 * @param list   address of the list's head; the new element, allocated with malloc(), belongs to the list.
 * @param text   the identifier, cut to 32 characters.
 * @param number the number that it stands for.
 * @return the element's name; null, after an error report, for null pointers or when memory is short.
 */
const char *update_dyn_dev_id_list(struct dyn_dev_id **list, const char *text, int number);

/**
 * Looks a number up in a list.
 *
 * @param list   first element, null for an empty list.
 * @param number the number, compared with all its bits.
 * @return name of the first valid element, owned by the list; null when there is none.
 */
const char *check_dyn_dev_list(const struct dyn_dev_id *list, int number);

BOARDDIAG_END_DECLS

#endif
