/* SPDX-License-Identifier: MIT */
#ifndef BOARDDIAG_ACCESS_H
#define BOARDDIAG_ACCESS_H

#include <stdbool.h>
#include <stdint.h>

#include <boarddiag/decls.h>

BOARDDIAG_BEGIN_DECLS

struct busbroker_req_resp;
struct tool_info;

#define SYS_CMD_MAX_SIZE 2048
enum { REG8 = 0, REG16 = 1, REGBLK = 2 };
enum { DATA8 = 0, DATA16 = 1, DATABLK = 2 };
struct reg_info {
    uint32_t reg_mode;
    uint32_t data_width;
    uint8_t reg_le;
};
extern const struct reg_info reg8_data8, reg16_data8, reg16_data8_le, regblk_datablk, reg8_data16;

struct busbroker_dev_info {
    const char *dev_id;
    const char *dev_name;
    struct busbroker_req_resp *req;
    struct tool_info *tool;
};

/* i2ctool_get, i2ctool_get_no_cntrl, ipmitool_get and ipmii2c_get are of one type, so that a caller can
 * switch: */
uint32_t i2ctool_get(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                     int32_t count, const char *pipe, uint8_t *data);
/* i2ctool_set and i2ctool_set_no_cntrl: */
uint32_t i2ctool_set(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                     const uint8_t *data, int32_t count, int32_t flag, uint8_t busbroker_req);
uint32_t i2ctool_set_no_cntrl(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                              const uint8_t *data, int32_t count, int32_t flag, uint8_t busbroker_req);
uint32_t i2ctool_get_no_cntrl(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                              int32_t count, const char *pipe, uint8_t *data);
uint32_t ipmitool_get(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                      int32_t count, const char *pipe, uint8_t *data);
uint32_t ipmii2c_get(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                     int32_t count, const char *pipe, uint8_t *data);
uint32_t i2ctool_set_no_data(const struct busbroker_dev_info *dev_info, uint8_t use_i2ctool, const char *bus,
                             uint8_t addr);

/* ipmitool_set, ipmii2c_set and ipmii2c2_set are of one type: */
uint32_t ipmitool_set(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                      const uint8_t *data, int32_t count, int32_t flag);
uint32_t ipmii2c_set(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                     const uint8_t *data, int32_t count, int32_t flag);
uint32_t ipmii2c2_set(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                      const uint8_t *data, int32_t count, int32_t flag);
/* ipmitool2_get and ipmitool2_set: */
uint32_t ipmitool2_get(uint8_t netfn, uint8_t cmd, uint8_t req_len, const uint8_t *req_data, int32_t resp_len,
                       uint8_t *resp_data);
uint32_t ipmitool2_set(uint8_t netfn, uint8_t cmd, uint8_t req_len, const uint8_t *req_data, int32_t resp_len,
                       uint8_t *resp_data);
uint32_t ipmii2c2_get(const char *bus, uint8_t addr, uint16_t reg, const struct reg_info *reg_info,
                      int32_t count, uint8_t *data);
uint8_t crc8(uint8_t crc, uint8_t data);
uint32_t add_pec(uint8_t first, uint8_t *buf, int32_t len);

uint32_t gpiotool_get(int32_t chip, int32_t pin, const char *pipe, uint8_t *value);
uint32_t gpiotool_set(int32_t chip, int32_t pin, const uint8_t *value, uint8_t busbroker_req);
uint32_t lpctool_get(uint32_t addr, int32_t count, char size, const char *pipe, uint8_t *data);
uint32_t lpctool_set(uint32_t addr, const uint8_t *data, int32_t count, char size, uint8_t busbroker_req);
uint32_t pcitool_get(uint32_t bus, uint32_t device, uint32_t func, uint32_t offset, uint8_t *data,
                     const char *pipe, uint32_t count, uint32_t width);
uint32_t pcitool_set(uint32_t bus, uint32_t device, uint32_t func, uint32_t offset, const uint8_t *data,
                     uint32_t count, uint8_t busbroker_req, uint32_t width);
uint32_t memtool_get(uint32_t addr, int32_t count, int32_t width, const char *pipe, uint8_t be,
                     uint8_t *data);
uint32_t memtool_set(uint32_t addr, int32_t width, const void *data, int32_t count, uint8_t busbroker);
uint32_t epoll_generic_get(const char *path, const char *pipe, const char *extra);
uint32_t epoll_generic_set(const char *path, const char *arg, const char *extra);

BOARDDIAG_END_DECLS

#endif
