/* SPDX-License-Identifier: MIT */
/* The program's one client of the bus broker. */
#ifndef BOARD_CHECK_BROKER_H
#define BOARD_CHECK_BROKER_H

#include <boarddiag.h>

#include <stdbool.h>

/** The client, or null when the program was started without a bus broker. */
extern struct tool_info *broker;

/** The request record and the timer of pauses that the checks use, one after another. */
extern struct busbroker_req_resp request;
extern timer_t pause_timer;

/** Sets the client up from the XML file `path`; false when it cannot. */
bool start_broker_client(const char *path);

#endif
