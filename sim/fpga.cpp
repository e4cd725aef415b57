/* SPDX-License-Identifier: MIT */
#include "fpga.h"

#include "devices.h"

namespace boardsim {

bool fpga_read(board &b, uint16_t reg, uint8_t &value)
{
    return image_read(b, fpga_image, reg, {&value, 1});
}

bool fpga_write(board &b, uint16_t reg, uint8_t value)
{
    return image_write(b, fpga_image, reg, {&value, 1});
}

} // namespace boardsim
