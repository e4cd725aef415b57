/* SPDX-License-Identifier: MIT */
// What the FPGA does at each register access, over its register image and its flash.
#ifndef BOARDSIM_FPGA_MODEL_H
#define BOARDSIM_FPGA_MODEL_H

#include <cstdint>
#include <functional>
#include <span>

#include "fpga_settings.h"

namespace boardsim {

/// The flash; false when the bytes are not all in it.
struct flash_memory {
    std::function<bool(uint32_t address, std::span<uint8_t> out)> read;
    std::function<bool(uint32_t address, std::span<const uint8_t> in)> write;
};

/// `image` has fpga_image_bytes bytes.
struct fpga_model {
    std::span<uint8_t> image;
    const fpga_settings &settings;
    const flash_memory &flash;
};

/// The caller has checked that `reg` lies below fpga_first_hidden.
uint8_t model_read(const fpga_model &fpga, uint16_t reg);
void model_write(const fpga_model &fpga, uint16_t reg, uint8_t value);

/// Counts an access for the settings' failures; true when this one fails. `fingerprint` tells one text of
/// settings from another: new settings count from 1 again.
bool access_fails(const fpga_model &fpga, uint32_t fingerprint, uint16_t reg, bool is_read);

} // namespace boardsim

#endif
