/* SPDX-License-Identifier: MIT */
// The FPGA's images and settings in the board's folder, around one access of the model.
#include "fpga.h"

#include <algorithm>
#include <vector>

#include "devices.h"
#include "fpga_model.h"
#include "message.h"

namespace boardsim {

namespace {

// FNV-1a: only to tell one text from another.
uint32_t fingerprint_of(std::string_view text)
{
    uint32_t hash = 0x811c9dc5;
    for (const char c : text) {
        hash = (hash ^ static_cast<uint8_t>(c)) * 0x01000193;
    }
    return hash;
}

flash_memory flash_of(const board &b)
{
    return {[&b](uint32_t address, std::span<uint8_t> out) {
                return image_read(b, fpga_flash_image, address, out);
            },
            [&b](uint32_t address, std::span<const uint8_t> in) {
                return image_write(b, fpga_flash_image, address, in);
            }};
}

/// Writes back what changed between two offsets.
bool store_part(const board &b, std::span<const uint8_t> before, std::span<const uint8_t> after, size_t from,
                size_t to)
{
    while (from < to && before[from] == after[from]) {
        from++;
    }
    while (to > from && before[to - 1] == after[to - 1]) {
        to--;
    }
    return from == to || image_write(b, fpga_image, from, after.subspan(from, to - from));
}

bool access_register(const board &b, uint16_t reg, uint8_t &value, bool is_read)
{
    if (reg >= fpga_first_hidden) {
        complain("the FPGA has no register 0x%04x", reg);
        return false;
    }
    const std::string text = read_text(b, fpga_settings_file).value_or("");
    const std::optional<fpga_settings> settings = parse_fpga_settings(text);
    std::vector<uint8_t> image(fpga_image_bytes);
    if (!settings || !image_read(b, fpga_image, 0, image)) {
        return false;
    }
    const std::vector<uint8_t> before = image;
    const flash_memory flash = flash_of(b);
    const fpga_model fpga = {image, *settings, flash};
    const bool fails = access_fails(fpga, fingerprint_of(text), reg, is_read);
    if (fails) {
        complain("the FPGA's settings make this access of register 0x%04x fail", reg);
    } else if (is_read) {
        value = model_read(fpga, reg);
    } else {
        model_write(fpga, reg, value);
    }
    const bool stored = store_part(b, before, image, 0, fpga_first_hidden) &&
                        store_part(b, before, image, fpga_first_hidden, fpga_image_bytes);
    return stored && !fails;
}

} // namespace

bool fpga_read(board &b, uint16_t reg, uint8_t &value)
{
    return access_register(b, reg, value, true);
}

bool fpga_write(board &b, uint16_t reg, uint8_t value)
{
    return access_register(b, reg, value, false);
}

} // namespace boardsim
