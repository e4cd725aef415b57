/* SPDX-License-Identifier: MIT */
/**
 * @file
 * Time: a periodic timer that runs registered calls on its ticks, and polling timers for bounded waits.
 */
#ifndef BOARDDIAG_TIMER_H
#define BOARDDIAG_TIMER_H

#include <stdbool.h>
#include <stdint.h>
#include <sys/types.h> /* timer_t, also in a strictly conforming C program */

#include <boarddiag/decls.h>

BOARDDIAG_BEGIN_DECLS

/** A call that runs on a tick: inside a signal handler, so it may do only what is safe there, and at any
 * moment, also while it runs already (timeout_calls()). */
typedef void (*timeout_call_fn)(void *arg);

/** A registered call. Made by register_timeout_calls(), linked for the life of the process. */
struct timeout_call {
    timeout_call_fn callback;  /**< what to call; a null one is passed over */
    void *arg;                 /**< handed to the callback; the caller's */
    struct timeout_call *next; /**< the call registered after this one, null at the end */
};

/**
 * The registered calls: list 0 (never run), list 1 (run on every tick), list 2 (run on every tenth tick).
 *
 * Takes no lock: nodes are linked whole and never removed, so that a tick may walk a list at any moment.
 * Append with register_timeout_calls() only.
 */
extern struct timeout_call *time_out_calls_list[3];

/**
 * Makes a timer on CLOCK_REALTIME.
 *
 * Mode 0 makes a polling timer, unarmed and without notification, for waitfor_timeout(). Mode 1 makes
 * timer_handler() the handler of SIGALRM (without automatic restart: blocking calls of any thread may fail
 * with EINTR) and starts a timer that sends SIGALRM to the process, the first time after one period and then
 * every period; a success replaces the signal mask of the calling thread by an empty one, which threads
 * that it creates inherit. All periodic timers share one tick counter, so a process should make only one. Any
 * other mode makes nothing.
 *
 * @param mode         0 polling, 1 periodic, anything else none.
 * @param timer        receives the handle; 0 when no timer was made. A timer may have the handle 0 as well:
 * only the status tells. The timer belongs to the caller.
 * @param timeout_type period in mode 1: 0 is 1 ms, 1 is 100 ms (what the bus broker client counts in), 2 is 1
 * s.
 * @return 0, also for the other modes; #DIAG_ERR_INVALID_ARG when `timer` is null, the type is none of the
 * three or a system call failed. A failed call leaves no timer and the signal mask as it was; the handler of
 * SIGALRM stays installed, so that a late signal does not end the process.
 *
 * Thread-safe; changes the signal mask of the calling thread only.
 */
uint32_t init_timer(uint32_t mode, timer_t *timer, int32_t timeout_type) BOARDDIAG_CHECKED;

/**
 * The handler of SIGALRM: one tick, timeout_calls(). Leaves errno as it was.
 *
 * @param signum the signal's number, not used.
 *
 * Async-signal-safe as far as the registered calls are. It may run in any thread that does not block SIGALRM.
 */
void timer_handler(int signum);

/**
 * One tick: runs the calls of list 1 in the order of their registration, and on every tenth tick those of
 * list 2 as well, then counts from 0 again.
 *
 * Thread-safe and async-signal-safe, as far as the registered calls are. A tick that comes while another one
 * runs, in another thread or as a signal in this one, does not wait for it: a call may then run several times
 * at once. Ticks that begin while a tenth one still runs are not counted towards the next tenth.
 */
void timeout_calls(void);

/**
 * Registers a call for the ticks; it cannot be taken back.
 *
 * @param type     1 for every tick, 0 for never, anything else for every tenth tick.
 * @param callback what to call; null registers a call that does nothing.
 * @param arg      handed to the callback; borrowed for the life of the process.
 * @return true, or false when no memory was to be had (reported).
 *
 * Thread-safe, also against a tick in any thread. Not to be called from a signal handler.
 */
bool register_timeout_calls(int32_t type, timeout_call_fn callback, void *arg) BOARDDIAG_CHECKED;

/**
 * Sleeps until a polling timer that is armed for this call has run out. A signal neither shortens nor
 * lengthens the wait.
 *
 * @param timer   a timer of init_timer() mode 0, not in use by another wait.
 * @param seconds how long to wait; 0 disarms the timer and returns at once. A negative time or one that is no
 *                number is reported and not waited for.
 *
 * Blocks the calling thread. Thread-safe on different timers.
 */
void waitfor_timeout(timer_t timer, double seconds);

BOARDDIAG_END_DECLS

#endif
