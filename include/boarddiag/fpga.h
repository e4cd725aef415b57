/* SPDX-License-Identifier: MIT */
#ifndef BOARDDIAG_FPGA_H
#define BOARDDIAG_FPGA_H

#include <stdbool.h>
#include <stdint.h>
#include <time.h>

#include <boarddiag/decls.h>

BOARDDIAG_BEGIN_DECLS

struct busbroker_req_resp;
struct tool_info;

struct mbox_info {
    uint32_t high_addr_reg, low_addr_reg, read_data_reg, write_data_reg;
};
struct mbox_indr_dev_cfg {
    const char *name;
    uint32_t id;
    struct mbox_indr_dev_cfg *next;
};
uint32_t lpctool_get_mbox(const struct mbox_info *mbox, uint32_t reg, uint8_t *data,
                          struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                          const char *dev_name, uint32_t code, uint8_t busbroker);
uint32_t lpctool_set_mbox(const struct mbox_info *mbox, uint32_t reg, uint32_t value,
                          struct busbroker_req_resp *req, struct tool_info *tool, const char *dev_id,
                          const char *dev_name, uint8_t busbroker);
struct mbox_indr_dev_cfg *get_lpctool_mbox_indr_dev_cfg(struct mbox_indr_dev_cfg **list, uint8_t by_id,
                                                        const char *name, uint32_t id);

struct lpc_indr_info {
    struct mbox_info mbox;
    uint32_t dev_id_reg, data_len_reg, opcode_reg, cmd_reg, status_reg, process_reg, wr_buf_reg, rd_buf_reg;
    uint8_t process_val, done_mask, err_mask, device_id, opcode, cmd_len;
    uint8_t cmd[3];
    uint8_t data_len;
    uint8_t *data;
};
/* lpctool_indr_read and lpctool_indr_write: */
uint32_t lpctool_indr_read(const struct lpc_indr_info *info, struct busbroker_req_resp *req,
                           struct tool_info *tool, const char *dev_id, const char *dev_name, timer_t timer,
                           uint8_t busbroker);

struct fpga_mode_info {
    uint32_t mode_reg;
    uint8_t test_mode_val, test_mode_ack, normal_mode_val, normal_mode_ack;
};
struct fpga_reg_map {
    uint16_t dev_id_reg, data_len_reg, opcode_reg, cmd_reg, status_reg, op_ctrl_reg, wr_buf_reg, rd_buf_reg;
    struct fpga_mode_info mode;
    uint8_t op_start_val, op_done_val, flag_reset_val, op_fail_val;
};
struct fpga_dev_info {
    uint8_t device_id;
    uint8_t cmd[3];
    uint8_t cmd_len, opcode;
    struct mbox_info mbox;
    uint8_t addr_incr;
};
uint32_t lpctool_indr_write(const struct lpc_indr_info *info, struct busbroker_req_resp *req,
                            struct tool_info *tool, const char *dev_id, const char *dev_name, timer_t timer,
                            uint8_t busbroker);
uint32_t set_fpga_mode(const struct fpga_mode_info *mode_info, const struct mbox_info *mbox,
                       uint32_t fpga_mode, uint8_t busbroker);
uint32_t check_fpga_op_ack(const struct mbox_info *mbox, const struct fpga_reg_map *reg_map,
                           uint8_t busbroker);
uint32_t lpctool_mbox_indr_access_op(uint32_t op, struct fpga_dev_info *dev,
                                     const struct fpga_reg_map *reg_map, uint8_t *buf, uint32_t len,
                                     uint8_t busbroker);

BOARDDIAG_END_DECLS

#endif
