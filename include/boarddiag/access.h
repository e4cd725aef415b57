/* SPDX-License-Identifier: MIT */
/**
 * @file
 * Device access: one call runs one tool of the platform and takes its answer.
 *
 * The tools are found through PATH. A command line holds at most #SYS_CMD_MAX_SIZE - 1 characters; longer
 * text is cut unless a function says that it refuses it. Texts that go into a command line (buses, FIFO
 * paths) are trusted: what a shell would interpret in them is interpreted.
 *
 * Reads through a FIFO: the call creates the FIFO at the path that the caller names (mode 0666 less the
 * umask; what stands there is removed once), the tool writes its answer into it, and the call removes it. The
 * FIFO stays in place only when it could not be opened. A tool that succeeds without writing is waited for 1
 * s at most and told of at level 0. A tool that succeeds makes the call succeed: also when fewer bytes came
 * than asked for, none, or they could not be read; the number of bytes (-1 for a failed read) is told at
 * level 2.
 *
 * Statuses of a tool: "the raw wait status" is what system() returns, so that exit code 1 is 256; a tool that
 * dies by signal n counts as exit code 128 + n, one that does not exist as exit code 127, and -1 says that no
 * process could be had, or that the program ignores SIGCHLD and so cannot learn how the tool ended.
 *
 * Threads: the calls take no lock and keep no state. They may run at once when their FIFO paths differ; calls
 * that must not mix on the device are serialised by the caller.
 */
#ifndef BOARDDIAG_ACCESS_H
#define BOARDDIAG_ACCESS_H

#include <stdint.h>

#include <boarddiag/decls.h>

BOARDDIAG_BEGIN_DECLS

/** Size in bytes of a tool's command line with its terminator. */
#define SYS_CMD_MAX_SIZE 2048

/** How a register is addressed (reg_info::reg_mode). */
enum {
    REG8 = 0,   /**< an 8-bit register number */
    REG16 = 1,  /**< a 16-bit register address */
    REGBLK = 2, /**< the start register of a block transfer: 8 bits in a read, 16 bits in a write */
};

/** Width of the data (reg_info::data_width). */
enum {
    DATA8 = 0,   /**< bytes */
    DATA16 = 1,  /**< 16-bit words */
    DATABLK = 2, /**< a block of bytes */
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
                     int32_t count, const char *pipe, uint8_t *data);

BOARDDIAG_END_DECLS

#endif
