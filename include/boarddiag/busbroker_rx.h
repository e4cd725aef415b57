/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The receive state machine of the bus broker client, which reads frames out of datagrams wherever they are
 * cut.
 *
 * The library is built for the target's own time_t, which these functions and struct tool_info take. On a
 * 32-bit target whose time_t has 32 bits, a file that includes this header must not be compiled with
 * _TIME_BITS=64.
 */
#ifndef BOARDDIAG_BUSBROKER_RX_H
#define BOARDDIAG_BUSBROKER_RX_H

#include <stdint.h>
#include <sys/time.h>

#include <boarddiag/decls.h>

#if defined(__TIMESIZE) && defined(_TIME_BITS)
#if __TIMESIZE == 32 && _TIME_BITS == 64
#error "the library takes times of the target's own width: compile without _TIME_BITS=64"
#endif
#endif

BOARDDIAG_BEGIN_DECLS

struct busbroker_req_resp;
struct tool_info;

/* ---- The engine and the tables it walks (busbroker/state_engine, receive_table) ---- */

/** Runs before a state's step; non-zero: the machine was reset, the step is left out. */
typedef uint8_t (*state_check_fn)(void *context, void *argument);
/** A part of a state's step. As a handler it returns 0: needs more input, 1: done, 2: failed. */
typedef uint32_t (*state_fn)(void *context, void *argument);

/** What an event does in a state. */
struct state_event {
    state_fn handler;    /**< runs for the event, result not used; may be null */
    uint32_t next_state; /**< the state that follows */
};

/** The events that a state knows. */
struct state_event_table {
    const struct state_event *events; /**< indexed by the event's number */
    uint32_t count;                   /**< number of events */
};

/** A state of a machine. */
struct state_row {
    state_check_fn pre_check; /**< runs first; may be null */
    const struct state_event_table
        *event_table;         /**< when not null, the event decides instead of the handler */
    state_fn handler;         /**< consumes input; when null the state always succeeds */
    state_fn failure_handler; /**< runs when the handler failed; may be null */
    uint32_t failure_state;   /**< the state after a failure */
    uint32_t success_state;   /**< the state after success */
    state_fn post_step;       /**< ends every step, before the new state is stored; may be null */
};

/** A machine: its states. Only read; shared by all who run it. */
struct state_info {
    const struct state_row *table; /**< the states, indexed by their number */
    uint32_t state_count;          /**< number of states */
};

/** The states of the receive machine: start mark, the fifteen wire fields, end mark. */
extern const struct state_row bus_broker_rxdata_state_table[17];
/** The description of the receive machine, for tool_info's rx_stateinfo. */
extern const struct state_info busbroker_rx_stateinfo;

/**
 * Does one step of a state machine: pre-check, then the event's pair or the handler, then the post-step.
 *
 * @param info     the machine; borrowed.
 * @param state    the current state, replaced by the next one; 65535 after a refusal.
 * @param event    the event's number, for a state with an event table.
 * @param context  handed to every function of the table.
 * @param argument handed to every function of the table.
 * @return 0; #DIAG_ERR_INVALID_ARG when a pointer is null, the state is none of the machine's, it has no
 * table or the state does not know the event.
 *
 * Thread-safe as far as the machine's functions are.
 */
uint32_t state_traversal(const struct state_info *info, uint32_t *state, uint32_t event, void *context,
                         void *argument);

/*
 * The functions of the receive machine's states. Their context is the struct tool_info of the receiving
 * thread, which alone may call them. Each reads its part of the frame from rx_buf and returns 0 when the
 * datagram ends before it, 1 when the part was taken, 2 when the frame is to be given up; 2 also without a
 * tool_info or, behind the start mark, without a frame being read.
 */

/**
 * State 0: finds the start mark "RPS" and makes the record; 2 when there is no memory (reported).
 *
 * @param context  the struct tool_info of the receiving thread, which alone may call this.
 * @param argument handed on to rx_complete.
 * @return 0 when the datagram ends before this part of the frame, 1 when the part was taken, 2 when the frame
 * is to be given up; 2 also without a tool_info or, behind the start mark, without a frame being read.
 */
uint32_t busbroker_req_resp_header_proc(void *context, void *argument);
/**
 * State 1: takes tool_id.
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_tool_id_proc(void *context, void *argument);
/**
 * State 2: takes inst_id.
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_inst_id_proc(void *context, void *argument);
/**
 * State 3: takes transac_id.
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_transac_id_proc(void *context, void *argument);
/**
 * State 4: takes dev_id_len; one above 32 is told and kept. 2 when there is no memory (reported).
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_dev_id_len_proc(void *context, void *argument);
/**
 * State 5: takes dev_id; its stored length replaces dev_id_len. 2 when there is no memory (reported).
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_dev_id_proc(void *context, void *argument);
/**
 * State 6: takes dev_name_len; one above 32 is told and kept. 2 when there is no memory (reported).
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_dev_name_len_proc(void *context, void *argument);
/**
 * State 7: takes dev_name; its stored length replaces dev_name_len. 2 when there is no memory (reported).
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_dev_name_proc(void *context, void *argument);
/**
 * State 8: takes req_prio; 2 when it is above 2 (told).
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_req_prio_proc(void *context, void *argument);
/**
 * State 9: takes req_type; 2 when it is above 7 (told).
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_req_type_proc(void *context, void *argument);
/**
 * State 10: takes transac_ind; 2 when it is above 5, without storing it.
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_trasac_ind_proc(void *context, void *argument);
/**
 * State 11: takes data_len.
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_actual_datalen_proc(void *context, void *argument);
/**
 * State 12: takes support_data_len; 2 when there is no memory for the data.
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_suprt_data_len_proc(void *context, void *argument);
/**
 * State 13: takes data; its stored length replaces data_len. 2 when there is no memory.
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_actual_data_copy(void *context, void *argument);
/**
 * State 14: takes support_data; its stored length replaces support_data_len. 2 when there is no memory
 * (reported).
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_support_data_copy(void *context, void *argument);
/**
 * State 15: takes crc.
 * @copydetails busbroker_req_resp_header_proc
 */
uint32_t busbroker_req_resp_crc_proc_state(void *context, void *argument);
/**
 * State 16: compares the end mark "RPE", validates the record, hands it to rx_complete and releases it.
 *
 * @param context  the struct tool_info; its rx_complete may be null, a valid record is then only released.
 * @param argument handed to rx_complete.
 * @return 0 when the datagram ends before the mark does, 1 when the record was valid, 2 without a tool_info
 * or a record, at the first difference from the mark, and for a record that validate_busbroker_req_resp()
 * refuses.
 *
 * No lock; for the receiving thread.
 */
uint32_t busbroker_req_resp_footer_validtn_state(void *context, void *argument);
/**
 * Sends the machine back to the start mark and releases the frame that it is reading.
 *
 * @param context  the struct tool_info; null is ignored.
 * @param argument not used.
 * @return always 0.
 *
 * No lock; for the receiving thread.
 */
uint32_t reset_sm(void *context, void *argument);
/**
 * Ends a step: writes the time of day into last_step_time. While busbroker_rx_state_machine() takes a
 * datagram this is the time at which the datagram began, and at its end the time then.
 *
 * @param context  the struct tool_info; null is ignored.
 * @param argument not used.
 * @return always 1.
 *
 * No lock; for the receiving thread.
 */
uint32_t update_time(void *context, void *argument);
/**
 * Begins a step: writes the time of day into now_time (the steps of a datagram share the time at which it
 * began) and resets the machine when last_step_time is more than 3 seconds before it (told at level 3).
 *
 * @param context  the struct tool_info; null is ignored.
 * @param argument handed to reset_sm().
 * @return 1 when it reset the machine, else 0.
 *
 * No lock; for the receiving thread.
 */
uint8_t check_rxtime_diff(void *context, void *argument);

/**
 * Reads the datagram in rx_buf: does steps of rx_stateinfo's machine until rx_index reaches rx_len, then sets
 * rx_index to 0. A frame may end in a later datagram; rx_complete, if there is one, gets every valid record.
 *
 * @param tool     the client, with at most 4096 as its rx_len; only its receiving thread may call this.
 * @param argument handed to every function of the table, and so to rx_complete.
 * @return 0; #DIAG_ERR_INVALID_ARG when `tool` (reported) or its rx_stateinfo is null, or a step was refused
 *         (told at level 0): rx_state is 65535 then, until reset_sm().
 */
uint32_t busbroker_rx_state_machine(struct tool_info *tool, void *argument);

/**
 * Collects the current field: appends bytes of rx_buf to field_buf, all but newlines and zeros, which only
 * count, until the field's length is reached.
 *
 * @param tool the client; its field_buf takes field_len + 1 characters.
 * @return 1 when the field is complete and its text ended; 0 when more bytes are needed, at the datagram's
 * end whatever the field needs, and for a null client or one without a field_buf.
 *
 * No lock; for the receiving thread.
 */
uint32_t busbroker_rx_complt_curnt_state_data(struct tool_info *tool);

/**
 * Releases a received record and its four texts.
 *
 * @param req the record, on the heap like each text that it holds; null is ignored. Not for a request, whose
 *            device texts are borrowed.
 *
 * Thread-safe on different records.
 */
void free_req_memory(struct busbroker_req_resp *req);

/**
 * The time between two moments.
 *
 * @param later   the end of the time; borrowed.
 * @param earlier its start; borrowed.
 * @return seconds, negative when `later` is the earlier one; 0.0 when one of them is null (reported).
 *
 * Thread-safe.
 */
double get_time_diff(const struct timeval *later, const struct timeval *earlier);

BOARDDIAG_END_DECLS

#endif
