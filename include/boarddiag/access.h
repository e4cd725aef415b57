/* SPDX-License-Identifier: MIT */
/**
 * @file
 * Device access: one call runs one tool of the platform and takes its answer.
 *
 * The tools are found through PATH. A command line holds at most #SYS_CMD_MAX_SIZE - 1 characters; longer
 * text is cut unless a function says that it refuses it. What goes into a command line as it is (the bus of
 * the I2C calls, FIFO paths, the size letter of the LPC calls) is trusted: what a shell would interpret in it
 * is interpreted. Of the bus of the IPMI calls only the number goes in.
 *
 * Reads through a FIFO: the call creates the FIFO at the path that the caller names (mode 0666 less the
 * umask; what stands there is removed once, but no folder), the tool writes its answer into it, and the call
 * removes it. The FIFO stays in place only when it could not be opened. A tool that succeeds without writing
 * is waited for 1 s at most and told of at level 0. A tool that succeeds makes the call succeed: also when
 * fewer bytes came than asked for, none, or they could not be read; the number of bytes (-1 for a failed
 * read) is told at level 2.
 *
 * Other users: in a folder where they may make files, like /tmp, anybody whom the umask leaves the right to
 * read (the usual 022 does) can open the FIFO while the call lasts, and read the answer, swallow it, or take
 * its first bytes so that the rest comes shifted, all with status 0; and whatever the umask, a folder made at
 * the path makes the call fail. A umask of 077 keeps readers away; a folder of the program's own, or a
 * private /tmp where the path is fixed, keeps everybody away.
 *
 * Statuses of a tool: "the raw wait status" is what system() returns, so that exit code 1 is 256; a tool that
 * dies by signal n counts as exit code 128 + n, but for SIGINT and SIGQUIT, which stay as they are (behind a
 * shell, which a command that is more than plain words needs, as that shell tells it), one that does not
 * exist as exit code 127, and -1 says that no process could be had, or that the program ignores SIGCHLD and
 * so cannot learn how the tool ended.
 *
 * Plain runs and reads of printed text make no FIFO. A read of text takes what the tool prints on its
 * standard output and does not look at its exit status; of output without end, only about 16 MiB beyond the
 * wanted bytes is read before the tool loses its reader.
 *
 * Threads: the calls take no lock and keep no state. They may run at once when their FIFO paths differ; calls
 * that must not mix on the device are serialised by the caller. A thread is not cancelled while its tool
 * runs.
 */
#ifndef BOARDDIAG_ACCESS_H
#define BOARDDIAG_ACCESS_H

#include <stdint.h>

#include <boarddiag/decls.h>

BOARDDIAG_BEGIN_DECLS

/** Size in bytes of a tool's command line with its terminator. */
#define SYS_CMD_MAX_SIZE 2048

struct busbroker_req_resp;
struct tool_info;

/** A device as the bus broker knows it, and what to reach the broker with. The program owns all of it. */
struct busbroker_dev_info {
    const char *dev_id;             /**< device identifier */
    const char *dev_name;           /**< device name */
    struct busbroker_req_resp *req; /**< the request to fill and send; one call at a time */
    struct tool_info *tool;         /**< the client whose threads run */
};

/** How a register is addressed (reg_info::reg_mode). */
enum {
    REG8 = 0,  /**< an 8-bit register number */
    REG16 = 1, /**< a 16-bit register address */
    REGBLK = 2 /**< the start register of a block transfer: 8 bits in a read, 16 bits in a write */
};

/** Width of the data (reg_info::data_width). */
enum {
    DATA8 = 0,  /**< bytes */
    DATA16 = 1, /**< 16-bit words */
    DATABLK = 2 /**< a block of bytes */
};

/** Register-addressing descriptor of the I2C wrappers; all zeros is an 8-bit register with byte data. */
struct reg_info {
    uint32_t reg_mode;   /**< REG8, REG16 or REGBLK */
    uint32_t data_width; /**< DATA8, DATA16 or DATABLK */
    uint8_t reg_le;      /**< non-zero: the register address goes least significant byte first */
};

/** 8-bit register, byte data. Never written by the library. */
extern const struct reg_info reg8_data8;
/** 16-bit register, byte data. */
extern const struct reg_info reg16_data8;
/** 16-bit register sent least significant byte first, byte data. */
extern const struct reg_info reg16_data8_le;
/** Register block, block data. */
extern const struct reg_info regblk_datablk;
/** 8-bit register, 16-bit data. */
extern const struct reg_info reg8_data16;

/* ---- I2C (access/i2c) ---- */

/**
 * Reads bytes from a register of an I2C device with i2ctool.
 *
 * In a dry run (set_debug_enable()) nothing is run and the first byte of `data` becomes 0x1a.
 *
 * @param bus      the bus as i2ctool expects it after --bus=; borrowed.
 * @param addr     device address.
 * @param reg      register; #REG8 and #REGBLK use its low 8 bits.
 * @param reg_info how the register is addressed; borrowed.
 * @param count    bytes to read; 0 or less reads nothing.
 * @param pipe     path of the FIFO to use; borrowed.
 * @param data     receives up to `count` bytes (at least 1); untouched when the call fails.
 * @return 0 when the tool succeeded and in a dry run; -1 for a null `reg_info`, an invalid data width or
 * register mode; #DIAG_ERR_FAILED when the FIFO could not be created or opened; otherwise the raw wait status
 * of the failed tool.
 *
 * Thread-safe for different FIFO paths.
 */
uint32_t i2ctool_get(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                     int32_t count, const char *pipe, uint8_t *data) BOARDDIAG_CHECKED;

/**
 * i2ctool_get() with the option --no_control. Its trace and its messages are those of i2ctool_get(), under
 * this function's name.
 *
 * @param bus      the bus as i2ctool expects it after --bus=; borrowed.
 * @param addr     device address.
 * @param reg      register; #REG8 and #REGBLK use its low 8 bits.
 * @param reg_info how the register is addressed; borrowed.
 * @param count    bytes to read; 0 or less reads nothing.
 * @param pipe     path of the FIFO to use; borrowed.
 * @param data     receives up to `count` bytes (at least 1); untouched when the call fails.
 * @return as i2ctool_get(): 0, -1, #DIAG_ERR_FAILED or the raw wait status.
 *
 * Thread-safe for different FIFO paths.
 */
uint32_t i2ctool_get_no_cntrl(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                              int32_t count, const char *pipe, uint8_t *data) BOARDDIAG_CHECKED;

/**
 * Writes values to a register of an I2C device with i2ctool.
 *
 * A value list that does not fit the command line is cut at its end, and the command runs as cut. In a dry
 * run the finished command is reported as an error and nothing is run.
 *
 * @param bus           the bus as i2ctool expects it after --bus=; borrowed.
 * @param addr          device address.
 * @param reg           register; #REG8 uses its low 8 bits.
 * @param reg_info      how the register is addressed; borrowed.
 * @param data          the values, a byte each; borrowed.
 * @param count         number of values; 0 or less writes an empty list.
 * @param flag          0, or bits for the option --flag=: bit 0 asks for a packet error code ("pec").
 * @param busbroker_req non-zero: the tool makes its access through the bus broker (--busbroker_req).
 * @return 0, also in a dry run; -1 for a null `reg_info`, an invalid data width or register mode, and when
 * the tool failed, whatever its exit code.
 *
 * Thread-safe.
 */
uint32_t i2ctool_set(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                     const uint8_t *data, int32_t count, int32_t flag,
                     uint8_t busbroker_req) BOARDDIAG_CHECKED;

/**
 * i2ctool_set() with the option --no_control. Its trace is that of i2ctool_set().
 *
 * @param bus           the bus as i2ctool expects it after --bus=; borrowed.
 * @param addr          device address.
 * @param reg           register; #REG8 uses its low 8 bits.
 * @param reg_info      how the register is addressed; borrowed.
 * @param data          the values, a byte each; borrowed.
 * @param count         number of values; 0 or less writes an empty list.
 * @param flag          0, or bits for the option --flag=: bit 0 asks for a packet error code.
 * @param busbroker_req non-zero: the tool makes its access through the bus broker.
 * @return as i2ctool_set(): 0 or -1.
 *
 * Thread-safe.
 */
uint32_t i2ctool_set_no_cntrl(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                              const uint8_t *data, int32_t count, int32_t flag,
                              uint8_t busbroker_req) BOARDDIAG_CHECKED;

/**
 * Addresses an I2C device without sending it data: with i2ctool, or by a request to the bus broker. Neither
 * knows a dry run.
 *
 * The request writes the byte 0xff with the support byte 0x01, at priority 0 and transaction indication 5;
 * the record's other parameters are sent as the caller set them. The two bytes are the library's own and stay
 * valid, also for a request that is not waited for (#BB_REQ_NO_WAIT).
 *
 * @param dev_info    for the bus broker: the device and the client, its request the caller's; may be null for
 * i2ctool.
 * @param use_i2ctool non-zero: run i2ctool; 0: ask the bus broker.
 * @param bus         for i2ctool: the bus as it is expected after --bus=; borrowed. May be null for the bus
 * broker.
 * @param addr        for i2ctool: device address.
 * @return 0; #DIAG_ERR_INVALID_ARG for a null `bus` with i2ctool, or a null `dev_info` or request without;
 * #DIAG_ERR_FAILED when the tool failed (told at level 0); without i2ctool otherwise what
 * request_busbroker() returned.
 *
 * Thread-safe on different request records.
 */
uint32_t i2ctool_set_no_data(const struct busbroker_dev_info *dev_info, uint8_t use_i2ctool, const char *bus,
                             uint8_t addr) BOARDDIAG_CHECKED;

/* ---- Raw IPMI requests (access/ipmi) ---- */

/**
 * Reads a register through the platform's management controller: a register of an I2C device, or without a
 * bus an OEM register. There is no dry run.
 *
 * The parameters are those of i2ctool_get(), so that a caller can switch.
 *
 * @param bus      "X-N" for bus number N in decimal (X is ignored), or null for the OEM command `addr`;
 * borrowed.
 * @param addr     device address; without a bus the OEM command, which must be 0x18.
 * @param reg      register: its low 8 bits with a bus, all 16 without.
 * @param reg_info with a bus only: must be given, and its mode be #REG8; the data width is not looked at.
 * @param count    with a bus only: bytes to ask for.
 * @param pipe     not used; may be null.
 * @param data     receives the bytes that came: at most `count` with a bus, at most 255 without.
 * @return 0 when at least one byte came; -1 when none did, for another OEM command or register mode, a null
 * `reg_info` with a bus, a bus text without '-', or when the tool could not be started.
 *
 * Thread-safe.
 */
uint32_t ipmitool_get(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                      int32_t count, const char *pipe, uint8_t *data) BOARDDIAG_CHECKED;

/**
 * Writes through the platform's management controller: consecutive registers of an I2C device, one request an
 * item, or without a bus an OEM register. There is no dry run.
 *
 * @param bus      "X-N" for bus number N in decimal (X is ignored), or null for the OEM command `addr`;
 * borrowed.
 * @param addr     device address; without a bus the OEM command, which must be 0x19.
 * @param reg      register of the first item (low 8 bits), each further item going to the next one modulo
 * 256; without a bus all 16 bits.
 * @param reg_info with a bus only: must be given, its mode be #REG8; the data width is that of an item.
 * @param data     the bytes, an item's in the order in which they are sent; exactly 4 without a bus.
 * Borrowed.
 * @param count    with a bus only: number of bytes, of which 256 at most are written; what is written is even
 * for 16-bit items; 0 or less writes nothing.
 * @param flag     with a bus only: bit 0 has the controller add a packet error code.
 * @return 0; -1 for another OEM command, data width or register mode, a null `reg_info` with a bus, a bus
 * text without '-', an odd number of bytes below 256 for 16-bit items (nothing is written then), or when a
 * request failed: the items before it stay written.
 *
 * Thread-safe.
 */
uint32_t ipmitool_set(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                      const uint8_t *data, int32_t count, int32_t flag) BOARDDIAG_CHECKED;

/**
 * Sends a raw IPMI request and takes a response of known length.
 *
 * In a dry run the tool runs all the same; the command is reported as an error and the call succeeds, unless
 * the output begins with text (-1) or a line end (0, without that report), or the tool could not be started
 * (-1).
 *
 * @param netfn     network function.
 * @param cmd       command.
 * @param req_len   number of request bytes.
 * @param req_data  the request bytes; borrowed.
 * @param resp_len  number of response bytes to take.
 * @param resp_data receives exactly `resp_len` bytes, those that did not come as 0; untouched unless the
 * output begins with a blank.
 * @return 0, also when the output is an empty line; -1 when nothing came though `resp_len` is not 0, for a
 * `resp_len` below 0 with a response, when the output begins with anything but a blank or a line end (without
 * a message), or when the tool could not be started.
 *
 * Thread-safe.
 */
uint32_t ipmitool2_get(uint8_t netfn, uint8_t cmd, uint8_t req_len, const uint8_t *req_data, int32_t resp_len,
                       uint8_t *resp_data) BOARDDIAG_CHECKED;

/**
 * The same as ipmitool2_get(), for requests that set something: `resp_len` is 0 when no response is expected.
 *
 * @param netfn     network function.
 * @param cmd       command.
 * @param req_len   number of request bytes.
 * @param req_data  the request bytes; borrowed.
 * @param resp_len  number of response bytes to take.
 * @param resp_data as in ipmitool2_get().
 * @return as ipmitool2_get(): 0 or -1.
 *
 * Thread-safe.
 */
uint32_t ipmitool2_set(uint8_t netfn, uint8_t cmd, uint8_t req_len, const uint8_t *req_data, int32_t resp_len,
                       uint8_t *resp_data) BOARDDIAG_CHECKED;

/* ---- I2C behind the management controller (access/ipmi_i2c) ---- */

/**
 * Reads values from an I2C device behind the management controller: one request that writes the register and
 * then reads. There is no dry run.
 *
 * The parameters are those of i2ctool_get(), so that a caller can switch.
 *
 * @param bus      "X-N" for bus number N in decimal, at most 29 characters; borrowed.
 * @param addr     device address as the controller takes it (8-bit form).
 * @param reg      register; #REG16 sends its high byte first.
 * @param reg_info #REG8 or #REG16, and the width of a value; borrowed.
 * @param count    number of values. 16-bit values come most significant byte first and are stored in host
 * order.
 * @param pipe     not used; may be null.
 * @param data     receives `count` values, those that did not come as 0.
 * @return 0 when a response came, or none was asked for (`count` 0); -1 for a null `reg_info` or `data`, an
 * invalid data width or register mode, a `count` below 0, when nothing came or what came does not begin
 * with a blank (told at level 2), or when the tool could not be started; #DIAG_ERR_INVALID_ARG for a bus text
 * without a number or longer than 29 characters.
 *
 * Thread-safe.
 */
uint32_t ipmii2c_get(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                     int32_t count, const char *pipe, uint8_t *data) BOARDDIAG_CHECKED;

/**
 * ipmii2c_get() without a FIFO path; `data` is not checked.
 *
 * @param bus      "X-N" for bus number N in decimal, at most 29 characters; borrowed.
 * @param addr     device address as the controller takes it (8-bit form).
 * @param reg      register; #REG16 sends its high byte first.
 * @param reg_info #REG8 or #REG16, and the width of a value; borrowed.
 * @param count    number of values.
 * @param data     receives `count` values, those that did not come as 0; must not be null.
 * @return as ipmii2c_get(): 0, -1 or #DIAG_ERR_INVALID_ARG.
 *
 * Thread-safe.
 */
uint32_t ipmii2c2_get(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                      int32_t count, uint8_t *data) BOARDDIAG_CHECKED;

/**
 * Writes values to an I2C device behind the management controller in one request, on demand with an SMBus
 * packet error code that the library computes. There is no dry run. The tool's standard output is discarded.
 *
 * @param bus      "X-N" for bus number N in decimal, at most 29 characters; borrowed.
 * @param addr     device address as the controller takes it: the 8-bit form, which the packet error code
 * covers.
 * @param reg      register; #REG16 sends its high byte first.
 * @param reg_info #REG8 or #REG16, and the width of a value; borrowed.
 * @param data     the values, 16-bit ones in host order (sent most significant byte first); borrowed.
 * @param count    number of values; 0 or less sends the register alone. Register, values and packet error
 * code together have at most 30 bytes.
 * @param flag     non-zero appends the packet error code.
 * @return 0; -1 for a null `reg_info`, an invalid data width or register mode, and when the tool failed;
 * #DIAG_ERR_INVALID_ARG, with nothing run, for a bus text without a number or longer than 29 characters, and
 * for a write of more than 30 bytes.
 *
 * Thread-safe.
 */
uint32_t ipmii2c_set(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                     const uint8_t *data, int32_t count, int32_t flag) BOARDDIAG_CHECKED;

/**
 * ipmii2c_set() with the tool's error output discarded in place of its standard output.
 *
 * @param bus      "X-N" for bus number N in decimal, at most 29 characters; borrowed.
 * @param addr     device address as the controller takes it (8-bit form).
 * @param reg      register; #REG16 sends its high byte first.
 * @param reg_info #REG8 or #REG16, and the width of a value; borrowed.
 * @param data     the values, 16-bit ones in host order; borrowed.
 * @param count    number of values; 0 or less sends the register alone.
 * @param flag     non-zero appends the packet error code.
 * @return as ipmii2c_set(): 0, -1 or #DIAG_ERR_INVALID_ARG.
 *
 * Thread-safe.
 */
uint32_t ipmii2c2_set(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                      const uint8_t *data, int32_t count, int32_t flag) BOARDDIAG_CHECKED;

/**
 * One step of the SMBus packet error code: CRC-8, polynomial 0x07, most significant bit first, no reflection,
 * no final XOR. From 0, the nine characters "123456789" give 0xf4.
 *
 * @param crc  the CRC so far, 0 at the start.
 * @param data the next byte.
 * @return the CRC with that byte.
 *
 * Thread-safe.
 */
uint8_t crc8(uint8_t crc, uint8_t data);

/**
 * Stores the SMBus packet error code over `first` and `buf` behind the bytes of `buf`.
 *
 * @param first the byte in front, as a rule the address byte.
 * @param buf   the bytes, with room for `len` + 1.
 * @param len   number of bytes; 0 or less covers `first` alone.
 * @return 0.
 *
 * Thread-safe.
 */
uint32_t add_pec(uint8_t first, uint8_t *buf, int32_t len);

/* ---- GPIO (access/gpio) ---- */

/**
 * Reads one GPIO pin with gpiotool. In a dry run nothing is run and `value` becomes 0x1a.
 *
 * @param chip  chip number.
 * @param pin   pin number on that chip.
 * @param pipe  path of the FIFO to use; borrowed, must not be null.
 * @param value receives one byte, the pin's state; untouched when the call fails or nothing came.
 * @return 0; #DIAG_ERR_FAILED when the FIFO could not be created or opened; otherwise the raw wait status.
 *
 * Thread-safe for different FIFO paths.
 */
uint32_t gpiotool_get(int32_t chip, int32_t pin, const char *pipe, uint8_t *value) BOARDDIAG_CHECKED;

/**
 * Drives one GPIO pin with gpiotool, also in a dry run.
 *
 * @param chip          chip number.
 * @param pin           pin number on that chip.
 * @param value         the level, one byte; borrowed, must not be null.
 * @param busbroker_req non-zero: the tool makes its access through the bus broker.
 * @return 0, or the raw wait status of the failed tool.
 *
 * Thread-safe.
 */
uint32_t gpiotool_set(int32_t chip, int32_t pin, const uint8_t *value,
                      uint8_t busbroker_req) BOARDDIAG_CHECKED;

/* ---- LPC (access/lpc) ---- */

/**
 * Reads LPC registers with lpctool. In a dry run nothing is run and the first byte of `data` becomes 0x1a.
 *
 * @param addr  address of the first register.
 * @param count number of bytes, whatever `size` says; 0 or less reads nothing.
 * @param size  the access size letter that lpctool is given, as a rule 'b'; trusted like a text (above).
 * @param pipe  path of the FIFO to use; borrowed.
 * @param data  receives up to `count` bytes (at least 1); untouched when the call fails.
 * @return 0; #DIAG_ERR_FAILED when the FIFO could not be created or opened; #DIAG_ERR_LPC_ACCESS when the
 * tool failed.
 *
 * Thread-safe for different FIFO paths.
 */
uint32_t lpctool_get(uint32_t addr, int32_t count, char size, const char *pipe,
                     uint8_t *data) BOARDDIAG_CHECKED;

/**
 * Writes LPC registers with lpctool, also in a dry run. A value list that does not fit the command line is
 * cut.
 *
 * @param addr          address of the first register.
 * @param data          the values, a byte each; borrowed.
 * @param count         number of values; 0 or less runs the tool with an empty list.
 * @param size          the access size letter that lpctool is given, as a rule 'b'; trusted like a text.
 * @param busbroker_req non-zero: the tool makes its access through the bus broker.
 * @return 0, or #DIAG_ERR_LPC_ACCESS when the tool failed.
 *
 * Thread-safe.
 */
uint32_t lpctool_set(uint32_t addr, const uint8_t *data, int32_t count, char size,
                     uint8_t busbroker_req) BOARDDIAG_CHECKED;

/* ---- PCI configuration space (access/pci) ---- */

/**
 * Reads from the configuration space of a PCI function with pcitool. In a dry run nothing is run and the
 * first byte of `data` becomes 0x1a. A failing tool is not reported.
 *
 * @param bus    bus number.
 * @param device device number.
 * @param func   function number.
 * @param offset offset in the configuration space.
 * @param data   receives up to `count` bytes (at least 1); untouched when the call fails.
 * @param pipe   path of the FIFO to use; borrowed.
 * @param count  number of bytes; 0, or more than INT32_MAX, reads nothing.
 * @param width  access width in bits, as pcitool takes it.
 * @return 0; #DIAG_ERR_FAILED when the FIFO could not be created or opened; otherwise the raw wait status.
 *
 * Thread-safe for different FIFO paths.
 */
uint32_t pcitool_get(uint32_t bus, uint32_t device, uint32_t func, uint32_t offset, uint8_t *data,
                     const char *pipe, uint32_t count, uint32_t width) BOARDDIAG_CHECKED;

/**
 * Writes to the configuration space of a PCI function with pcitool. In a dry run the command is printed at
 * level 0 and nothing is run. A failing tool is not reported. A value list that does not fit the command line
 * is cut.
 *
 * @param bus           bus number.
 * @param device        device number.
 * @param func          function number.
 * @param offset        offset in the configuration space.
 * @param data          the values, a byte each; borrowed.
 * @param count         number of values; 0 runs the tool with an empty list.
 * @param busbroker_req non-zero: the tool makes its access through the bus broker and is told the width.
 * @param width         access width in bits, used with `busbroker_req` only.
 * @return 0, also in a dry run; -1 when the tool failed.
 *
 * Thread-safe.
 */
uint32_t pcitool_set(uint32_t bus, uint32_t device, uint32_t func, uint32_t offset, const uint8_t *data,
                     uint32_t count, uint8_t busbroker_req, uint32_t width) BOARDDIAG_CHECKED;

/* ---- Physical memory (access/mem) ---- */

/**
 * Reads physical memory with memtool. In a dry run nothing is run and the first byte of `data` becomes 0x1a.
 *
 * @param addr  physical address.
 * @param count number of items.
 * @param width width of an item in bits. A `count` x `width` below 8, or one that does not fit 32 bits, reads
 *              nothing.
 * @param pipe  path of the FIFO to use; borrowed.
 * @param be    non-zero: the tool gives each item most significant byte first (--be).
 * @param data  receives up to `count` x `width` / 8 bytes (at least 1); untouched when the call fails.
 * @return 0; #DIAG_ERR_FAILED when the FIFO could not be created or opened; otherwise the raw wait status.
 *
 * Thread-safe for different FIFO paths.
 */
uint32_t memtool_get(uint32_t addr, int32_t count, int32_t width, const char *pipe, uint8_t be,
                     uint8_t *data) BOARDDIAG_CHECKED;

/**
 * Writes physical memory with memtool, also in a dry run. A command line that would be too long is refused.
 *
 * @param addr      physical address.
 * @param width     width of an item in bits: 8, 16, 32 or 64.
 * @param data      the items, in host byte order; borrowed, of any alignment.
 * @param count     number of items; 0 runs the tool with an empty list, whatever the width.
 * @param busbroker non-zero: the tool makes its access through the bus broker (--busbroker).
 * @return 0; #DIAG_ERR_FAILED for another width; -1, with nothing run, when memory for the value list could
 * not be had (for a `count` below 0, never) or the command line would be longer than #SYS_CMD_MAX_SIZE - 1
 * characters; otherwise the raw wait status of the failed tool.
 *
 * Thread-safe.
 */
uint32_t memtool_set(uint32_t addr, int32_t width, const void *data, int32_t count,
                     uint8_t busbroker) BOARDDIAG_CHECKED;

/* ---- Programs started without waiting (access/process) ---- */

/**
 * Starts a program with the argument "--get" and returns at once.
 *
 * The child runs without a shell, with the process's environment; reaping it is the caller's business. A
 * child that cannot become the program reports that and ends with exit code 127, or is killed when its report
 * takes longer than 5 s because another thread held a lock when the process forked.
 *
 * @param path  the program's path; borrowed.
 * @param pipe  a FIFO path, passed as "--pipe=" and the path, or null for no such argument; borrowed.
 * @param extra a further argument, or null; borrowed.
 * @return 0 when there is a child; #DIAG_ERR_FAILED for a null `path` or when the process could not fork.
 *
 * Thread-safe.
 */
uint32_t epoll_generic_get(const char *path, const char *pipe, const char *extra) BOARDDIAG_CHECKED;

/**
 * Starts a program with the argument "--set" and returns at once; else as epoll_generic_get().
 *
 * @param path  the program's path; borrowed.
 * @param arg   an argument passed as it is, or null; borrowed.
 * @param extra a further argument, or null; borrowed.
 * @return 0 when there is a child; #DIAG_ERR_FAILED for a null `path` or when the process could not fork.
 *
 * Thread-safe.
 */
uint32_t epoll_generic_set(const char *path, const char *arg, const char *extra) BOARDDIAG_CHECKED;

BOARDDIAG_END_DECLS

#endif
