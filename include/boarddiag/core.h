/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The run-time core: status codes, messages and their thresholds, and the start-up configuration.
 */
#ifndef BOARDDIAG_CORE_H
#define BOARDDIAG_CORE_H

#include <stdbool.h>
#include <stdint.h>

#include <boarddiag/decls.h>

BOARDDIAG_BEGIN_DECLS

/* ---- Status codes. The low byte of each is the number of the errno condition that it stands for. ---- */

/** An operation failed: a FIFO, a tool run, a read or a bus broker request. */
#define DIAG_ERR_FAILED 0x8a008000u
/** A null pointer, an invalid argument or malformed input. */
#define DIAG_ERR_INVALID_ARG 0x8a008016u
/** An allocation failed. */
#define DIAG_ERR_NO_MEMORY 0x8a00800cu
/** The read buffer of the FPGA could not be read. */
#define DIAG_ERR_ACCESS 0x8a00800du
/** A run of lpctool ended with a non-zero status. */
#define DIAG_ERR_LPC_ACCESS 0x8601800du
/** A character is not a hexadecimal digit. */
#define DIAG_ERR_BAD_HEX_DIGIT 0x86018021u

/* ---- Messages (core/log) ---- */

/**
 * Emits one message on standard output and in the system log.
 *
 * A message of level -1 is an error: it goes to both sinks with "ERROR: " in front, whatever the thresholds
 * are, in the system log at LOG_ERR. Any other message is printed when its level is at most the verbosity
 * (set_verb_level()) and logged at LOG_INFO when its level is at most the log level (set_log_level()). The
 * text is cut after 1023 characters; no line end is added and standard output is not flushed. A message that
 * no sink takes is not formatted.
 *
 * @param level  -1 for an error, else 0 (shown by default) to 3 (most detailed).
 * @param format printf-style format of the arguments that follow; borrowed for the call.
 *
 * Thread-safe: each message reaches each sink whole. Not to be called from a signal handler.
 */
void diag_print(int level, const char *format, ...) BOARDDIAG_PRINTF(2, 3);

/** The verbosity: messages up to this level are printed. 0 at start. Thread-safe. */
int get_verb_level(void);
/** Sets the verbosity, without a range check; in force from the next message on. Thread-safe. */
void set_verb_level(int level);
/** Sets the log level: messages up to it go to the system log. 0 at start, no range check. Thread-safe. */
void set_log_level(int level);
/** The test level, a value that the library only keeps for the program. 0 at start. Thread-safe. */
int get_test_level(void);
/** Sets the test level. Thread-safe. */
void set_test_level(int level);
/** The dry-run switch: non-zero keeps the device wrappers from running their tools. Thread-safe. */
int get_debug_enable(void);
/** Sets the dry-run switch; each wrapper's description says what it does then. Thread-safe. */
void set_debug_enable(int value);
/** The configuration-debug flag, 0 or 1, which the library only keeps for the program. Thread-safe. */
int get_config_debug_enable(void);
/** Sets the configuration-debug flag. Thread-safe. */
void set_config_debug_enable(bool value);

/** Whether extended diagnostics are enabled: always 0. Thread-safe. */
int is_eda_enabled(void);
/** Whether extended tests are enabled: always 0. Thread-safe. */
int is_eda_ext_tests(void);
/** Whether extended diagnostics are verbose: always 0. Thread-safe. */
int is_eda_verbose(void);
/** Whether extended diagnostics stop on the first error: always 0. Thread-safe. */
int is_eda_stop_on_error(void);
/** The test control value: always 0. Thread-safe. */
int get_test_control(void);
/** Whether the host is big-endian: always 0; the library runs on little-endian hosts only. Thread-safe. */
int is_host_be(void);

/**
 * Opens the system log (option LOG_NDELAY, facility LOG_LOCAL1).
 *
 * @param ident the identity shown with each entry; the system log keeps the pointer, so the text must stay
 *              valid until diag_syslog_close() or for the life of the process.
 *
 * Thread-safe.
 */
void diag_syslog_init(const char *ident);
/** Closes the system log. Thread-safe. */
void diag_syslog_close(void);

/* ---- Start-up configuration (core/startup) ---- */

/** Size in bytes of the platform's NVRAM record. */
#define NVRAM_RECORD_SIZE 1068

/** The NVRAM record as nvramtool writes it, in host byte order; the library reads the two named fields. */
struct nvram_record {
    uint8_t opaque_head[1058];
    uint8_t valid; /**< non-zero when the record holds valid settings */
    uint8_t opaque_gap;
    int32_t verb_level; /**< the verbosity stored in NVRAM */
    uint8_t opaque_tail[4];
};

/**
 * Configures the library; to be called once, before anything else.
 *
 * In this order: the environment variable VERB_LEVEL (-1 to 3) sets the verbosity; CONFIG_DEBUG, by its mere
 * presence, the configuration-debug flag; the NVRAM record, fetched with nvramtool, may raise the verbosity;
 * LOG_LEVEL (-1 to 3, else 0) sets the log level; the system log is opened under the program's name;
 * DIAG_DEBUG sets the dry-run switch. A value out of range is told at level 1; a failed NVRAM query is
 * reported and otherwise ignored.
 *
 * @param name the program's name, which the system log keeps: it must stay valid for the life of the process.
 *             A name that contains "busbroker" queries through a FIFO of its own with the option --busbroker;
 *             the name "nvramtool" queries nothing.
 *
 * Not thread-safe: call it before the program starts threads.
 */
void diag_system_init(const char *name);

/**
 * Fetches the NVRAM record: runs nvramtool, which writes it into a FIFO made for the call. A tool that
 * succeeds without writing is waited for 1 s at most and told of at level 0.
 *
 * @param pipe      path of the FIFO to create and remove; what stands there is replaced. Borrowed.
 * @param record    receives the record; cleared first, so that bytes that did not come are 0, all of them
 * when the query fails.
 * @param busbroker true adds the option --busbroker to the command.
 * @return 0, also when fewer bytes came, none, or the read failed; #DIAG_ERR_FAILED when the FIFO could not
 * be created or opened (it stays in place when the open failed) or when nvramtool failed.
 *
 * Concurrent calls need different FIFO paths.
 */
uint32_t nvramtool_query(const char *pipe, struct nvram_record *record, bool busbroker);

/**
 * Raises the verbosity to that of a valid NVRAM record; never lowers it.
 *
 * @param record the record; null is reported, a record that is not valid is ignored silently.
 *
 * Not to be called while another thread sets the verbosity.
 */
void set_nvram_verb_level(const struct nvram_record *record);

BOARDDIAG_END_DECLS

#endif
