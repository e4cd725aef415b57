/* SPDX-License-Identifier: MIT */
#ifndef BOARDSIM_PEC_H
#define BOARDSIM_PEC_H

#include <cstdint>
#include <span>

namespace boardsim {

/// The SMBus packet error code of a message: CRC-8 with the polynomial x^8 + x^2 + x + 1, initial value 0,
/// most significant bit first.
uint8_t packet_error_code(std::span<const uint8_t> message);

} // namespace boardsim

#endif
