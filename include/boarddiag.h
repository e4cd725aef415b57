/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The whole public interface of boarddiag, the shared services of hardware-diagnostic test programs.
 *
 * A program calls diag_system_init() once with its own name and then uses the rest. Unless a function says
 * otherwise it returns a 32-bit status: 0 for success, one of the DIAG_ERR_ codes of boarddiag/core.h or -1
 * (all bits set) for failure, and reports what went wrong through diag_print().
 */
#ifndef BOARDDIAG_H
#define BOARDDIAG_H

#include <boarddiag/access.h>
#include <boarddiag/busbroker.h>
#include <boarddiag/core.h>
#include <boarddiag/timer.h>
#include <boarddiag/version.h>

#endif
