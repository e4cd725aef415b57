/* SPDX-License-Identifier: MIT */
#include "pec.h"

namespace boardsim {

uint8_t packet_error_code(std::span<const uint8_t> message)
{
    constexpr unsigned polynomial = 0x07;
    constexpr unsigned top_bit = 0x80;
    unsigned crc = 0;
    for (const uint8_t byte : message) {
        for (unsigned bit = top_bit; bit != 0; bit >>= 1) {
            const bool feedback = ((crc & top_bit) != 0) != ((byte & bit) != 0);
            crc = (crc << 1 & UINT8_MAX) ^ (feedback ? polynomial : 0);
        }
    }
    return static_cast<uint8_t>(crc);
}

} // namespace boardsim
