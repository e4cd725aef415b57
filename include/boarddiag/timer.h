/* SPDX-License-Identifier: MIT */
#ifndef BOARDDIAG_TIMER_H
#define BOARDDIAG_TIMER_H

#include <stdbool.h>
#include <stdint.h>
#include <time.h>

#include <boarddiag/decls.h>

BOARDDIAG_BEGIN_DECLS

typedef void (*timeout_call_fn)(void *arg);
struct timeout_call {
    timeout_call_fn callback;
    void *arg;
    struct timeout_call *next;
};
extern struct timeout_call *time_out_calls_list[3];

uint32_t init_timer(uint32_t mode, timer_t *timer, int32_t timeout_type);
void timer_handler(int signum);
void timeout_calls(void);
bool register_timeout_calls(int32_t type, timeout_call_fn callback, void *arg);
void waitfor_timeout(timer_t timer, double seconds);

BOARDDIAG_END_DECLS

#endif
