/* SPDX-License-Identifier: MIT */
// The SMBus packet error code (System Management Bus, packet error checking): CRC-8 with the
// polynomial x^8 + x^2 + x + 1, most significant bit first, no reflection, no final XOR.
#include <boarddiag/access.h>

namespace {

constexpr uint32_t polynomial = 0x107 << 7; // its highest term against bit 15 of the work value

} // namespace

uint8_t crc8(uint8_t crc, uint8_t data)
{
    uint32_t work = static_cast<uint32_t>(crc ^ data) << 8;

    for (int bit = 0; bit < 8; bit++) {
        if ((work & 0x8000) != 0) {
            work ^= polynomial;
        }
        work <<= 1;
    }
    return static_cast<uint8_t>(work >> 8);
}

uint32_t add_pec(uint8_t first, uint8_t *buf, int32_t len)
{
    const int32_t covered = len > 0 ? len : 0;
    uint8_t crc = crc8(0, first);

    for (int32_t i = 0; i < covered; i++) {
        crc = crc8(crc, buf[i]);
    }
    buf[covered] = crc;
    return 0;
}
