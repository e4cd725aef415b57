/* SPDX-License-Identifier: MIT */
// The FPGA behind the LPC mailbox: 65536 registers of a byte, among them those of two protocols that reach
// the same flash memory, the indirect command sequence and the operation with mode control. Everything that
// the FPGA knows stands in its register image, so it lives from one tool run to the next.
#ifndef BOARDSIM_FPGA_H
#define BOARDSIM_FPGA_H

#include <cstdint>

#include "board.h"

namespace boardsim {

inline constexpr const char fpga_flash_image[] = "fpga_flash.bin";
inline constexpr const char fpga_settings_file[] = "fpga.cfg";

/// The registers and values of one protocol.
struct fpga_protocol {
    uint16_t dev_id_reg;
    uint16_t data_len_reg;
    uint16_t opcode_reg;
    uint16_t cmd_reg; // three registers: a flash address, least significant byte first
    uint16_t status_reg;
    uint16_t start_reg;
    uint16_t wr_buf_reg;
    uint16_t rd_buf_reg;
    uint8_t buffer_bytes; // the highest data length
    uint8_t start_val;    // written into start_reg it starts the command
    uint8_t done_val;     // the status of a command that was carried out
    uint8_t fail_val;     // ...and of one that was refused
    uint8_t reset_val;    // written into status_reg it clears the status and drops a command not yet done
    // The first register of a buffer is the mouth of a FIFO as well, and a command with the same command
    // bytes as the one before it goes on where that ended. Only in test mode does a command start.
    bool streams;
};

inline constexpr fpga_protocol fpga_indirect = {
    .dev_id_reg = 0x0100,
    .data_len_reg = 0x0101,
    .opcode_reg = 0x0102,
    .cmd_reg = 0x0103,
    .status_reg = 0x0106,
    .start_reg = 0x0107,
    .wr_buf_reg = 0x0200,
    .rd_buf_reg = 0x0300,
    .buffer_bytes = 255,
    .start_val = 0x01,
    .done_val = 0x01,
    .fail_val = 0x80,
    .reset_val = 0x00,
    .streams = false,
};

inline constexpr fpga_protocol fpga_operation = {
    .dev_id_reg = 0x0400,
    .data_len_reg = 0x0401,
    .opcode_reg = 0x0402,
    .cmd_reg = 0x0403,
    .status_reg = 0x0406,
    .start_reg = 0x0407,
    .wr_buf_reg = 0x0410,
    .rd_buf_reg = 0x0420,
    .buffer_bytes = 16,
    .start_val = 0x01,
    .done_val = 0x02,
    .fail_val = 0x04,
    .reset_val = 0x00,
    .streams = true,
};

inline constexpr uint16_t fpga_mode_reg = 0x0408;
inline constexpr uint8_t fpga_test_mode_val = 0xa5;
inline constexpr uint8_t fpga_test_mode_ack = 0x5a;
inline constexpr uint8_t fpga_normal_mode_val = 0x3c;
inline constexpr uint8_t fpga_normal_mode_ack = 0xc3;

/// The one device behind both protocols, and what it can do with the `data_len` bytes at its address.
inline constexpr uint8_t fpga_flash_device = 0x01;
inline constexpr uint8_t fpga_opcode_none = 0x00; // accepted, moves nothing
inline constexpr uint8_t fpga_opcode_write = 0x02;
inline constexpr uint8_t fpga_opcode_read = 0x03;
inline constexpr uint8_t fpga_opcode_erase = 0x20; // to 0xff

/// From here on the image holds what the FPGA knows besides its registers; no mailbox access reaches it.
inline constexpr uint16_t fpga_first_hidden = 0xff00;
inline constexpr size_t fpga_image_bytes = 0x10000;

/// One access of an internal register through the mailbox; false (told on standard error) when the FPGA is
/// missing, does not have the register, or is told to fail by its settings file.
bool fpga_read(board &b, uint16_t reg, uint8_t &value);
bool fpga_write(board &b, uint16_t reg, uint8_t value);

} // namespace boardsim

#endif
