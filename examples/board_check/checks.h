/* SPDX-License-Identifier: MIT */
/* What the files of board_check share: a check, the tables of checks, and where they find the board. */
#ifndef BOARD_CHECK_CHECKS_H
#define BOARD_CHECK_CHECKS_H

#include <stdbool.h>
#include <stddef.h>

/** One check: its name in the verdict, and the function that tells whether it passed. */
struct check {
    const char *name;
    bool (*run)(void);
};

/** Path of the FIFO that the checks use, one after another. */
extern char pipe_path[4096];

/* The tables end with a check without a name. */
extern const struct check i2c_checks[];
extern const struct check ipmi_checks[];
extern const struct check register_checks[]; /* GPIO, LPC, PCI, memory */
extern const struct check fpga_checks[];
extern const struct check tree_checks[];
extern const struct check broker_checks[]; /* these two need the bus broker */
extern const struct check broker_fpga_checks[];

#endif
