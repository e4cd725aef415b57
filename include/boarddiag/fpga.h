/* SPDX-License-Identifier: MIT */
/**
 * @file
 * The FPGA behind its LPC mailbox: single registers, the indirect command sequence, and whole operations with
 * mode control.
 *
 * Nothing here takes a lock or keeps state between calls. An access is several runs of lpctool or several
 * bus broker requests, and all reads share one FIFO: callers serialise their mailbox accesses, and keep other
 * users of the FPGA away while a sequence or an operation lasts. Addresses of internal FPGA registers are
 * 16 bits wide; what stands above in a 32-bit address is ignored.
 */
#ifndef BOARDDIAG_FPGA_H
#define BOARDDIAG_FPGA_H

#include <stdbool.h>
#include <stdint.h>
#include <sys/types.h>

#include <boarddiag/decls.h>

BOARDDIAG_BEGIN_DECLS

struct busbroker_req_resp;
struct tool_info;

/* ---- Mailbox registers (fpga/mailbox) ---- */

/** The LPC addresses of a mailbox. Filled by the caller; the library only reads it. */
struct mbox_info {
    uint32_t high_addr_reg;  /**< takes bits 8 to 15 of the internal register address */
    uint32_t low_addr_reg;   /**< takes bits 0 to 7 of it */
    uint32_t read_data_reg;  /**< the addressed register is read here */
    uint32_t write_data_reg; /**< the addressed register is written here */
};

/** An entry of a caller's list of mailbox devices; it may be the head of a longer record. */
struct mbox_indr_dev_cfg {
    const char *name;               /**< device name */
    uint32_t id;                    /**< device number */
    struct mbox_indr_dev_cfg *next; /**< next entry, null at the end */
};

/**
 * Reads one internal FPGA register: writes the two bytes of its address, then reads the data register.
 *
 * A failed step is reported and ends the call; what was written before it stays written. No pointer is
 * checked. In a dry run (set_debug_enable()) lpctool still writes the address, and the byte read is 0x1a.
 *
 * @param mbox      the mailbox.
 * @param reg       internal register address; bits 0 to 15 count.
 * @param data      receives the register's byte; left alone when lpctool fails or writes nothing.
 * @param req       bus broker: the request record, whose request parameters the call replaces; its
 * `write_data` and `resp_buf` are null afterwards. Not used, and may be null, without the bus broker; so are
 *                  the next three.
 * @param tool      bus broker: the client to send through.
 * @param dev_id    bus broker: device identifier of the requests.
 * @param dev_name  bus broker: device name of the requests.
 * @param code      bus broker: code of the read request, its low 8 bits; 0x10 in the library's own calls.
 * @param busbroker non-zero: three bus broker requests; zero: three runs of lpctool.
 * @return 0, also when lpctool succeeded without writing a byte; or the status of the step that failed:
 *         #DIAG_ERR_LPC_ACCESS or #DIAG_ERR_FAILED of lpctool_get() and lpctool_set(), or whatever
 *         request_busbroker() returned.
 *
 * Not to run concurrently with another access of the same mailbox, nor with any other mailbox read.
 */
uint32_t lpctool_get_mbox(const struct mbox_info *mbox, uint32_t reg, uint8_t *data,
                          struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                          const char *dev_name, uint32_t code, uint8_t busbroker) BOARDDIAG_CHECKED;

/**
 * Writes one internal FPGA register: writes the two bytes of its address, then the data register.
 *
 * In a dry run all three writes are made.
 *
 * @param mbox      the mailbox.
 * @param reg       internal register address; bits 0 to 15 count.
 * @param value     the low 8 bits are written.
 * @param req       as in lpctool_get_mbox(), as are the next three.
 * @param tool      see there.
 * @param dev_id    see there.
 * @param dev_name  see there.
 * @param busbroker non-zero: three bus broker requests; zero: three runs of lpctool.
 * @return 0, or the status of the step that failed: #DIAG_ERR_LPC_ACCESS of lpctool_set(), or whatever
 *         request_busbroker() returned.
 *
 * Not to run concurrently with another access of the same mailbox.
 */
uint32_t lpctool_set_mbox(const struct mbox_info *mbox, uint32_t reg, uint32_t value,
                          struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                          const char *dev_name, uint8_t busbroker) BOARDDIAG_CHECKED;

/**
 * Looks a device up in a list of mailbox devices.
 *
 * @param list  address of the list's head; null or an empty list is told at level 0.
 * @param by_id non-zero: compare `id`; zero: compare `name`.
 * @param name  the beginning of the wanted name: "dev1" also finds "dev10", and "" the first entry. Null
 * finds nothing. Ignored when `by_id` is set.
 * @param id    the wanted number; ignored when `by_id` is zero.
 * @return the first entry that matches, owned by the list; null when there is none.
 *
 * Safe in any thread while the list does not change.
 */
struct mbox_indr_dev_cfg *get_lpctool_mbox_indr_dev_cfg(struct mbox_indr_dev_cfg **list, uint8_t by_id,
                                                        const char *name, uint32_t id);

/* ---- Indirect command sequence (fpga/indirect) ---- */

/** One indirect command. Filled by the caller; the library only reads it and fills `data` of a read. */
struct lpc_indr_info {
    struct mbox_info mbox; /**< the mailbox of every access */
    uint32_t dev_id_reg;   /**< takes `device_id` */
    uint32_t data_len_reg; /**< takes `data_len` */
    uint32_t opcode_reg;   /**< takes `opcode` */
    uint32_t cmd_reg;      /**< takes cmd[0]; cmd[i] goes to cmd_reg + i */
    uint32_t status_reg;   /**< status flag: cleared by the host, set non-zero by the FPGA when it is done */
    uint32_t process_reg;  /**< asks the FPGA to process the command */
    uint32_t wr_buf_reg;   /**< first byte of the write buffer; byte i is at wr_buf_reg + i */
    uint32_t rd_buf_reg;   /**< first byte of the read buffer; byte i is at rd_buf_reg + i */
    uint8_t process_val;   /**< written to `process_reg` */
    uint8_t done_mask;     /**< status bits of which one at least must be set for success */
    uint8_t err_mask;      /**< status bits of which none may be set for success; writes only */
    uint8_t device_id;     /**< device number */
    uint8_t opcode;        /**< operation code */
    uint8_t cmd_len;       /**< command bytes, 0 to 3 */
    uint8_t cmd[3];        /**< the command bytes */
    uint8_t data_len;      /**< data bytes, 0 to 255 */
    uint8_t *data; /**< `data_len` bytes: read into, or written from; may be null when there are none */
};

/**
 * Runs an indirect read: sends the command, waits until the FPGA has processed it, and fetches the data.
 *
 * The FPGA's status is polled every 0.1 s, 21 times at most. The status flag is cleared before and after the
 * command; a failed access is reported and ends the sequence where it stands, with the flag not cleared.
 *
 * @param info      the command; at success its `data` holds the result. Bytes that were not read stay as they
 *                  were.
 * @param req       handed with the next three to each mailbox access: see lpctool_get_mbox().
 * @param tool      see there.
 * @param dev_id    see there.
 * @param dev_name  see there.
 * @param timer     polling timer (init_timer() mode 0) of the pauses when `busbroker` is set; else not used.
 * @param busbroker non-zero: go through the bus broker.
 * @return 0; #DIAG_ERR_INVALID_ARG when `info`, or its `data` with bytes to move, is null or `cmd_len` is
 *         above 3 (nothing accessed), or when the status shows no bit of `done_mask` (the flag is cleared
 *         again, `data` untouched); or the status of lpctool_get_mbox() or lpctool_set_mbox() that failed.
 *
 * Not to run concurrently with other accesses of the FPGA.
 */
uint32_t lpctool_indr_read(const struct lpc_indr_info *info, struct busbroker_req_resp *req,
                           struct tool_info *tool, const char *dev_id, const char *dev_name, timer_t timer,
                           uint8_t busbroker) BOARDDIAG_CHECKED;

/**
 * Runs an indirect write: sends the command and its data, and waits until the FPGA has processed them.
 *
 * Polling and failures are those of lpctool_indr_read(), but a status with a bit of `err_mask` fails too, and
 * `data` is only read.
 *
 * @param info      the command.
 * @param req       handed with the next three to each mailbox access: see lpctool_get_mbox().
 * @param tool      see there.
 * @param dev_id    see there.
 * @param dev_name  see there.
 * @param timer     polling timer (init_timer() mode 0) of the pauses when `busbroker` is set; else not used.
 * @param busbroker non-zero: go through the bus broker.
 * @return 0; #DIAG_ERR_INVALID_ARG as in lpctool_indr_read(), also for a status with a bit of `err_mask`; or
 *         the status of lpctool_get_mbox() or lpctool_set_mbox() that failed.
 *
 * Not to run concurrently with other accesses of the FPGA.
 */
uint32_t lpctool_indr_write(const struct lpc_indr_info *info, struct busbroker_req_resp *req,
                            struct tool_info *tool, const char *dev_id, const char *dev_name, timer_t timer,
                            uint8_t busbroker) BOARDDIAG_CHECKED;

/* ---- Operations with mode control (fpga/operation) ---- */

/** The mode control of the FPGA. */
struct fpga_mode_info {
    uint32_t mode_reg;       /**< selects the mode and reads back its acknowledgement */
    uint8_t test_mode_val;   /**< written to enter test mode */
    uint8_t test_mode_ack;   /**< read back once in test mode */
    uint8_t normal_mode_val; /**< written to enter normal mode */
    uint8_t normal_mode_ack; /**< read back once in normal mode */
};

/** The FPGA's registers and protocol values. */
struct fpga_reg_map {
    uint16_t dev_id_reg;        /**< takes the device number */
    uint16_t data_len_reg;      /**< takes the byte count of a chunk, 1 to 16 */
    uint16_t opcode_reg;        /**< takes the operation code */
    uint16_t cmd_reg;           /**< takes cmd[0]; cmd[i] goes to cmd_reg + i */
    uint16_t status_reg;        /**< polled for the acknowledgement, and reset */
    uint16_t op_ctrl_reg;       /**< starts a chunk */
    uint16_t wr_buf_reg;        /**< first register of the write buffer */
    uint16_t rd_buf_reg;        /**< first register of the read buffer */
    struct fpga_mode_info mode; /**< mode control */
    uint8_t op_start_val;       /**< written to `op_ctrl_reg` to start a chunk */
    uint8_t op_done_val;        /**< status of a completed chunk */
    uint8_t flag_reset_val;     /**< written to `status_reg` to reset it */
    uint8_t op_fail_val;        /**< status of a failed chunk; counts before `op_done_val` */
};

/** Device and command of an operation. */
struct fpga_dev_info {
    uint8_t device_id; /**< device number */
    uint8_t cmd[3];    /**< command bytes; with `addr_incr` a 24-bit address, least significant byte first */
    uint8_t cmd_len;   /**< command bytes sent with each chunk, 0 to 3 */
    uint8_t opcode;    /**< operation code */
    struct mbox_info mbox; /**< the mailbox of every access */
    uint8_t addr_incr; /**< non-zero: byte i uses buffer register + i, and the address in `cmd` advances by 16
                            with each completed chunk; zero: all bytes use the one register */
};

/**
 * Switches the mode of the FPGA and waits for its acknowledgement, which is polled every 0.1 s, 21 times at
 * most. A failed read of it is reported and polling goes on, but the call then fails in the end.
 *
 * @param mode_info mode control; not checked for null.
 * @param mbox      the mailbox; not checked for null.
 * @param fpga_mode 0 for test mode, 1 for normal mode.
 * @param busbroker to be 0: these operations carry no request record.
 * @return 0; #DIAG_ERR_INVALID_ARG for another mode or a non-zero `busbroker` (nothing accessed), when an
 *         access failed, and when no acknowledgement came.
 *
 * Not to run concurrently with other accesses of the FPGA.
 */
uint32_t set_fpga_mode(const struct fpga_mode_info *mode_info, const struct mbox_info *mbox,
                       uint32_t fpga_mode, uint8_t busbroker) BOARDDIAG_CHECKED;

/**
 * Starts a chunk and waits for its acknowledgement, polled every 0.1 s. Only the first 20 reads count; one
 * that shows at the 21st or 22nd is reported as no response. A failed read is reported and polling goes on.
 *
 * @param mbox      the mailbox.
 * @param reg_map   registers and values.
 * @param busbroker to be 0, as in set_fpga_mode().
 * @return 0; #DIAG_ERR_INVALID_ARG for a null pointer or a non-zero `busbroker` (nothing accessed), when the
 *         start could not be written, when the FPGA told a failure, when no acknowledgement came in time, and
 *         when the read that met the acknowledged value failed.
 *
 * Not to run concurrently with other accesses of the FPGA.
 */
uint32_t check_fpga_op_ack(const struct mbox_info *mbox, const struct fpga_reg_map *reg_map,
                           uint8_t busbroker) BOARDDIAG_CHECKED;

/**
 * Runs an operation: enters test mode, writes device number and operation code, and moves the data in chunks
 * of at most 16 bytes, each started, acknowledged and reset. The FPGA stays in test mode.
 *
 * A failure is reported and ends the operation where it stands; only a failed access of the data buffer is
 * followed by a reset of the status flag. A chunk takes at least 0.1 s, and so does the change of mode.
 *
 * @param op        0 writes, 1 reads, any other value is a command whose chunks move no data.
 * @param dev       device and command, not checked for null; with `addr_incr` its `cmd` advances.
 * @param reg_map   registers and values; not checked for null.
 * @param buf       `len` bytes: the source of a write, the destination of a read; never null.
 * @param len       data bytes; 0 ends the operation after the operation code.
 * @param busbroker to be 0, as in set_fpga_mode().
 * @return 0; #DIAG_ERR_ACCESS when the read buffer could not be read; #DIAG_ERR_INVALID_ARG for a null `buf`,
 *         a non-zero `busbroker` or a `cmd_len` above 3 (nothing accessed), and for every other failure.
 *
 * Not to run concurrently with other accesses of the FPGA.
 */
uint32_t lpctool_mbox_indr_access_op(uint32_t op, struct fpga_dev_info *dev,
                                     const struct fpga_reg_map *reg_map, uint8_t *buf, uint32_t len,
                                     uint8_t busbroker) BOARDDIAG_CHECKED;

BOARDDIAG_END_DECLS

#endif
