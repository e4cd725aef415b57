/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The run-time core: status codes, messages and their thresholds, and the start-up configuration; and the
 * common utilities: text, bit fields, console output and input, platform and version checks.
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

/**
 * What a status means, in a few words: those of the codes above, of -1, and of the wait status of a tool, as
 * in "exit status 1" or "signal 2 (Interrupt)".
 *
 * @param status what a function of this library returned.
 * @return the words, never null; they hold until this thread asks again.
 *
 * Thread-safe.
 */
const char *diag_status_text(uint32_t status);

/**
 * Why the calling thread's last failed call failed, in one line without a line end: the command or the
 * address, what the system said of it, how often it was tried. Characters that do not print are escaped.
 * Examples:
 *
 *     i2ctool --read --bus=3 --addr=0x50 --count=1 --pipe=/tmp/p --width=8 --reg=0x10: exit status 1
 *     no answer from 127.0.0.1:5000 after 3 sends in 1.5 s
 *     /tmp/x/pipe: No such file or directory
 *
 * A call that succeeds leaves it as it was.
 *
 * @return the line, empty before the first failure; it holds until the next failed call of this thread.
 *
 * Thread-safe: each thread has its own.
 */
const char *diag_reason(void);

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

/**
 * The verbosity: messages up to this level are printed. 0 at start. Thread-safe.
 *
 * @return the level that set_verb_level() or the start-up configuration set.
 */
int get_verb_level(void);
/**
 * Sets the verbosity, without a range check; in force from the next message on. Thread-safe.
 *
 * @param level the highest level to print: -1 (errors only) to 3.
 */
void set_verb_level(int level);
/**
 * Sets the log level: messages up to it go to the system log. 0 at start, no range check. Thread-safe.
 *
 * @param level the highest level to log: -1 (errors only) to 3.
 */
void set_log_level(int level);
/**
 * The test level, a value that the library only keeps for the program. 0 at start. Thread-safe.
 *
 * @return what set_test_level() was given.
 */
int get_test_level(void);
/**
 * Sets the test level. Thread-safe.
 *
 * @param level any value.
 */
void set_test_level(int level);
/**
 * The dry-run switch: non-zero keeps the device wrappers from running their tools. Thread-safe.
 *
 * @return what set_debug_enable() was given, 0 at start.
 */
int get_debug_enable(void);
/**
 * Sets the dry-run switch; each wrapper's description says what it does then. Thread-safe.
 *
 * @param value non-zero for dry runs.
 */
void set_debug_enable(int value);
/**
 * The configuration-debug flag, 0 or 1, which the library only keeps for the program. Thread-safe.
 *
 * @return 1 when the flag is set, else 0.
 */
int get_config_debug_enable(void);
/**
 * Sets the configuration-debug flag. Thread-safe.
 *
 * @param value the flag.
 */
void set_config_debug_enable(bool value);

/** Whether extended diagnostics are enabled: always 0. Thread-safe. @return 0. */
int is_eda_enabled(void);
/** Whether extended tests are enabled: always 0. Thread-safe. @return 0. */
int is_eda_ext_tests(void);
/** Whether extended diagnostics are verbose: always 0. Thread-safe. @return 0. */
int is_eda_verbose(void);
/** Whether extended diagnostics stop on the first error: always 0. Thread-safe. @return 0. */
int is_eda_stop_on_error(void);
/** The test control value: always 0. Thread-safe. @return 0. */
int get_test_control(void);
/** Whether the host is big-endian: always 0; the library runs on little-endian hosts only. Thread-safe.
 * @return 0. */
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
    uint8_t opaque_head[1058]; /**< the platform's own */
    uint8_t valid;             /**< non-zero when the record holds valid settings */
    uint8_t opaque_gap;        /**< the platform's own */
    int32_t verb_level;        /**< the verbosity stored in NVRAM */
    uint8_t opaque_tail[4];    /**< the platform's own */
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
 * @param record    a struct nvram_record, or a buffer of #NVRAM_RECORD_SIZE bytes; cleared first, so that
 * bytes that did not come are 0, all of them when the query fails.
 * @param busbroker true adds the option --busbroker to the command.
 * @return 0, also when fewer bytes came, none, or the read failed; #DIAG_ERR_FAILED when the FIFO could not
 * be created or opened (it stays in place when the open failed) or when nvramtool failed.
 *
 * Concurrent calls need different FIFO paths.
 */
uint32_t nvramtool_query(const char *pipe, void *record, bool busbroker) BOARDDIAG_CHECKED;

/**
 * Raises the verbosity to that of a valid NVRAM record; never lowers it.
 *
 * @param record a struct nvram_record, or its #NVRAM_RECORD_SIZE bytes in any alignment; null is reported, a
 * record that is not valid is ignored silently.
 *
 * Not to be called while another thread sets the verbosity.
 */
void set_nvram_verb_level(const void *record);

/* ---- Numbers out of text, and texts cleaned in place (core/text) ----
 * Nothing here allocates, reports or keeps state: all are thread-safe as long as no two threads share a text
 * that one of them changes. No pointer may be null. */

/**
 * The value of one hexadecimal digit.
 *
 * @param c      the character; '0'-'9', 'a'-'f' and 'A'-'F' are digits.
 * @param status receives 0, or #DIAG_ERR_BAD_HEX_DIGIT when `c` is not a digit.
 * @return 0 to 15, or -1 when `c` is not a digit.
 */
int hex_to_i(char c, uint32_t *status);

/**
 * The number that a hexadecimal text holds.
 *
 * Lower-case 'x' and spaces are skipped wherever they stand; any other character that is not a digit
 * (upper-case 'X', '-', a tab or a line end too) ends the number. Digits beyond 32 bits push the first ones
 * out. For example "0x1F", "x1f" and "1 f" are 31, "12,34" is 0x12, and "0X1F" and "" are 0.
 *
 * @param text NUL-terminated; borrowed for the call.
 * @return the number; there is no failure.
 */
uint32_t atoh(const char *text);

/**
 * Stores the number that a hexadecimal text holds, read as atoh() reads it, at a width of choice.
 *
 * For example the text "12345" at 16 bits stores 0x2345.
 *
 * @param text  NUL-terminated; borrowed for the call.
 * @param dest  receives the number in host byte order; need not be aligned.
 * @param width width of `dest` in bits: 8, 16 or 32; any other value means 64.
 */
void atoh_p(const char *text, void *dest, int width);

/**
 * Whether two texts are equal without regard to case. Says nothing of their order: never positive.
 *
 * For example "abc" and "ABD" give 0 for 2 characters and -1 for 3; "ab" and "abc" give -1 for 3.
 *
 * @param a NUL-terminated, as is `b`; both borrowed for the call.
 * @param b the other text.
 * @param n how many characters to compare at most; 0 makes any texts equal, a negative number sets no limit.
 * @return 0 when the first `n` characters are equal or both texts end equal before, else -1.
 */
int strncmpi(const char *a, const char *b, int n);

/**
 * Whether a character is printable ASCII, 0x20 (space) to 0x7e (tilde), whatever the locale.
 *
 * @param c the character.
 * @return 1 or 0.
 */
int is_printable(char c);
/**
 * Removes the spaces (0x20 only) before and after a text, in place; inner spaces and tabs stay.
 *
 * @param text NUL-terminated; rewritten.
 */
void trim_spaces(char *text);
/**
 * Removes every space (0x20 only) of a text, in place.
 *
 * @param text NUL-terminated; rewritten.
 */
void trim_all_spaces(char *text);

/**
 * Removes every tab of a text, in place.
 *
 * @param text NUL-terminated; rewritten.
 * @return `text`.
 */
char *remove_tabs(char *text);

/**
 * Moves a position in a text past white space: blanks, tabs, line ends, vertical tabs, form feeds, whatever
 * the locale.
 *
 * @param text the position, which is advanced; the text itself is only read.
 * @return the new position: the first character that is not white space, or the terminating NUL.
 */
const char *skip_ws(const char **text);

/* ---- Bit fields and byte order (core/bits) ----
 * Bit 0 is the least significant; a range includes both of its ends. Thread-safe. */

/**
 * A bit field of a register value. Takes the START bit first, other than prepare_mask():
 * get_field_val(4, 7, 0xabcd) is 0xc.
 *
 * @param start lowest bit of the field, 0 to 31.
 * @param end   highest bit of the field, 0 to 31; a higher one counts as 31.
 * @param value the register value.
 * @return the field, shifted down to bit 0; 0 when `start` is above `end` or above 31.
 */
uint32_t get_field_val(uint32_t start, uint32_t end, uint32_t value);
/**
 * get_field_val() on the low 8 bits of `value`: get_byte_field_val(0, 3, 0x1234) is 4.
 *
 * @param start lowest bit of the field, 0 to 7.
 * @param end   highest bit of the field.
 * @param value the register value.
 * @return as get_field_val().
 */
uint32_t get_byte_field_val(uint32_t start, uint32_t end, uint32_t value);

/**
 * The mask of a bit range. Takes the END bit first, other than get_field_val(): prepare_mask(7, 4) is 0xf0.
 *
 * @param end   highest bit of the range; one above 31 counts as 31.
 * @param start lowest bit of the range.
 * @return the mask: bits above 31 are in no mask. 0 with an error report when `start` is above `end`.
 */
uint32_t prepare_mask(uint32_t end, uint32_t start);

/**
 * The value of a two's-complement fixed-point field: its integer divided by 2 to the power of `frac`.
 *
 * For example width 9 and frac 1 turn 0x1ff into -0.5.
 *
 * @param raw    the field in the low `width` bits; the bits above are ignored.
 * @param width  width of the field in bits, 2 to 31.
 * @param frac   how many of them stand behind the binary point, 0 to `width` - 1.
 * @param result receives the value; untouched on failure. Not null.
 * @return 0; -1, without a report, when `width` or `frac` is out of range.
 */
int get_twos_complement_val(uint32_t raw, int width, int frac, float *result) BOARDDIAG_CHECKED;

/**
 * The byte with its bits in reverse order: reverse_bits(0x01) is 0x80.
 *
 * @param byte the byte.
 * @return the byte whose bit 0 is the old bit 7, and so on.
 */
uint8_t reverse_bits(uint8_t byte);

/**
 * Swaps the bytes of a value and tells both at level 1.
 *
 * @param value the value.
 * @param bits  32 for its four bytes; 16 for its low two, the upper half of the result being 0: of 0x11223344
 *              16 bits make 0x4433.
 * @return the swapped value; `value` itself, with an error report, when `bits` is neither.
 */
uint32_t byte_swap(uint32_t value, uint8_t bits);

/**
 * Copies one item in reverse byte order. Reports nothing.
 *
 * @param src   the item; need not be aligned, nor need `dst`. Neither may be null.
 * @param dst   receives the swapped item; may be `src`.
 * @param width width of the item in bits: 8 (copied unchanged), 16 or 32; any other value means 64.
 * @return the swapped item, zero-extended.
 */
uint64_t byte_swap_p(const void *src, void *dst, int width);

/* ---- Console output (core/console) ---- */

struct _xmlNode;

/**
 * Dumps data in hexadecimal through diag_print(), 16 bytes to a line.
 *
 * Items collect in groups, each with "0x" in front; a group of one-byte items ends with a space, one of wider
 * items with a tab, and a group that a line leaves open goes on in the next. 18 bytes 'A' to 'R' with groups
 * of 32 bits, an address flag and base 0x100 make
 *
 *     [00000100]: 0x41424344 0x45464748 0x494a4b4c 0x4d4e4f50  || ABCDEFGHIJKLMNOP
 *     [00000110]: 0x5152 || QR
 *
 * (a group that the data leave incomplete is printed at their end, without what would end it). Every dump
 * ends with a line break of its own, so one whose length is a multiple of 16 ends with an empty line, and one
 * without data is a line break alone.
 *
 * @param data       the bytes, in any alignment; only `length` bytes are read, and what an item at the end
 *                   lacks shows as 0. May be null when `length` is 0.
 * @param group_bits items to a group, times 8, WHATEVER the width: 32 makes groups of four items, also of
 * four 4-byte items. Below 8 a group is one item; at most 62 one-byte or 30 wider items make one.
 * @param length     bytes of data.
 * @param base       address shown for the first byte.
 * @param show_addr  non-zero shows each line's address and, at width 1, its printable characters.
 * @param width      bytes of an item: 1 (2 digits), 2 (4 digits) or 4 (4 to 8 digits), read in host byte
 * order; any other width is reported as an error and nothing is dumped.
 * @param level      level of the messages, as of diag_print(); a line is one message; at a level that
 *                   goes to the system log (-1 always does) each label, group and character is one.
 *
 * Thread-safe; concurrent dumps may mix, message by message.
 */
void dump_hex(const void *data, int group_bits, uint32_t length, uint32_t base, int show_addr, uint8_t width,
              int level);

/**
 * A text of one character repeated, for columns and rules; prints nothing.
 *
 * @param c one of . _ | = + - *; any other character gives spaces.
 * @param n how many, 1 to 170.
 * @return a constant text of exactly `n` characters, valid for ever, not to be freed; "" when `n` is out of
 *         range.
 *
 * Thread-safe.
 */
const char *fillWith(char c, int n);

/**
 * Prints the verdict of a test at level 0: "NAME: Overall test results------------------ " and then
 * "FAILED <<<<" or ">>>> PASSED".
 *
 * @param name   the test's name; borrowed for the call, not null.
 * @param failed non-zero for a failed test.
 *
 * Thread-safe.
 */
void print_test_result(const char *name, int failed);

/**
 * Prints parsed XML at level 3: the nodes of a list with all below them, in document order. An element shows
 * as "node type: NAME ", a text as "= TEXT" and a line break, or as the line break alone when it starts with
 * one; other nodes show nothing. An entity
 * reference shows what its entity holds. Control characters in a text show escaped, but for tabs and line
 * breaks.
 *
 * @param node first node of a libxml2 node list (xmlNode), only read; null prints nothing.
 *
 * Thread-safe as long as nobody changes the document.
 */
void print_element(struct _xmlNode *node);

/**
 * Copies bytes, front to back also where the two ranges overlap.
 *
 * @param dst receives the bytes; may be null only when `n` is 0.
 * @param n   how many bytes.
 * @param src the bytes.
 * @return 0; #DIAG_ERR_INVALID_ARG with an error report when `src` is null, also for 0 bytes.
 *
 * Thread-safe on ranges of its own.
 */
uint32_t update_buf(uint8_t *dst, uint32_t n, const uint8_t *src) BOARDDIAG_CHECKED;

/* ---- Console input (core/input) ----
 * Both calls read the stream stdin, so that characters that one leaves in its buffer are the next that the
 * other reads; they clear its end-of-file and error indicators. A signal neither ends nor fails a call. Not
 * thread-safe: the stream and the terminal belong to the process. */

/**
 * Waits a bounded time for a key, without echo and without Enter; sleeps meanwhile.
 *
 * The terminal (if standard input is one) leaves canonical mode and standard input becomes non-blocking for
 * the duration of the call; both are as before when it returns. A failure of fcntl() is reported and does not
 * end the call, which may then wait beyond the limit; failures of the terminal are ignored. Standard output
 * is flushed first; on the same terminal it is non-blocking meanwhile, so nothing else should print. The
 * thread is not cancelled before all is restored. At the end of input it waits on, as input may yet grow.
 *
 * @param seconds the limit, counted in whole seconds of the wall clock from the second in which the call
 *                starts: a limit of 2 ends after 1 to 2 seconds. 0 or less looks once for a key already
 * there.
 * @return the key's character code, 0 to 255; -1 when none came in time.
 */
int wait_key_pressed(int64_t seconds);

/**
 * Reads one line, however long it takes.
 *
 * @param buf  receives the line without its line feed, NUL-terminated; characters that do not fit are read
 * and dropped. A carriage return is stored like any other character. Not written when -1 is returned.
 * @param size size of `buf` in bytes, at least 1.
 * @return the number of characters stored; -1 when the input ended before one was stored (a byte of 0xff is
 * such an end too, and so is a read error; with a `size` of 1 nothing is ever stored), or, with an error
 * report and nothing read, when `buf` is null or `size` is below 1.
 */
int get_user_input(char *buf, int size);

/* ---- Platform and files (core/platform) ---- */

/** get_cpu_arch(): a machine whose name starts with "x86". */
#define CPU_ARCH_X86 3
/** get_cpu_arch(): a machine whose name starts with "arm". */
#define CPU_ARCH_ARM 4

/**
 * Chooses a program's configuration file: the base name with ".cfg", else with ".xml", whichever opens
 * for reading first, of whatever kind it is.
 *
 * @param base path without extension; borrowed for the call.
 * @return a new text that the caller frees; null when neither file can be read (told at level 1), and with an
 *         error report when `base` is null or memory is short.
 *
 * Thread-safe.
 */
char *build_config_filename(const char *base);

/**
 * The family of the host's processor, from the machine name that uname() gives: x86_64 and armv7l are known,
 * i686 and aarch64 are not.
 *
 * @param arch receives #CPU_ARCH_X86 or #CPU_ARCH_ARM; untouched on failure. Not null.
 * @return 0; #DIAG_ERR_FAILED with an error report when uname() fails, or the name is of another family or
 * longer than 9 characters.
 *
 * Thread-safe.
 */
uint32_t get_cpu_arch(int *arch) BOARDDIAG_CHECKED;

/**
 * Whether a file of the diagnostics' bin folder can be read: $LD_LIBRARY_PATH/../bin/NAME, the variable being
 * taken as one folder whatever colons it holds.
 *
 * @param name the file's name; borrowed for the call.
 * @return 0 when it opens for reading, of whatever kind it is; else #DIAG_ERR_INVALID_ARG, without
 *         an error report: `name` is null (told at level 3), the variable is not set, the path is longer than
 * 255 characters, or there is no such file.
 *
 * Thread-safe as long as nobody changes the environment.
 */
uint32_t check_file_existance_in_diagbin(const char *name);

/* ---- Version strings (core/version_check) ----
 * All answer 1 for valid and 0 for invalid, and tell at level 1 what was wrong. Thread-safe as long as no
 * other thread uses the text. */

/**
 * Whether a text holds only ASCII letters and digits.
 *
 * @param text        at least `n` characters, or fewer with a NUL, which is not valid; borrowed for the call.
 * @param n           how many characters to check; 0 or less checks none, which is valid, and `text` may be
 * null.
 * @param punctuation true allows '-', '.', '_' and space too.
 * @return 1 or 0.
 */
int check_valid_char(const char *text, int n, bool punctuation);

/**
 * Whether a text holds only digits.
 *
 * @param text        as of check_valid_char(), as is `n`.
 * @param n           how many characters to check.
 * @param hexadecimal true allows 'a'-'f' and 'A'-'F' too.
 * @return 1 or 0.
 */
int check_valid_number(const char *text, int n, bool hexadecimal);

/**
 * Whether a version string has the form x.y.z.rest with hexadecimal x, y and z, and z is the image type.
 *
 * z is compared as a decimal number that ends at its first other character: "1.2.1a.9" is of image type 1.
 * The rest is not looked at and may hold the one '-' that is allowed. There must be exactly three dots; empty
 * components are skipped, so that "1..2.3" has x 1, y 2 and z 3, and fewer than three others are invalid.
 *
 * @param version    the string; unless the number of dots or dashes is wrong, EACH DOT IS OVERWRITTEN with a
 * NUL. Null is invalid.
 * @param image_type the type that z must be.
 * @return 1 or 0.
 */
int check_valid_ver_format_and_image_type(char *version, int image_type);

BOARDDIAG_END_DECLS

#endif
