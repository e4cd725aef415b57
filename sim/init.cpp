/* SPDX-License-Identifier: MIT */
// boardsim init: a complete sample board, all of it told by the tables below.
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>

#include "commands.h"
#include "devices.h"
#include "fpga.h"
#include "message.h"

namespace boardsim {

namespace {

using namespace std::string_view_literals;

enum class filling : uint8_t {
    zeros,   // a hole: costs no space
    offsets, // each byte is the sum of its offset's bytes
    ones,    // 0xff, as an erased device
    toggle,  // 0, 1, 0, 1...
};

struct sample_image {
    const char *name;
    uint64_t size;
    filling fill;
};

constexpr sample_image images[] = {
    {"i2c/3/0x48.bin", 8, filling::zeros},      // temperature sensor
    {"i2c/3/0x48.word", 0, filling::zeros},     // ...with 16-bit registers
    {"i2c/3/0x50.bin", 256, filling::offsets},  // EEPROM, 8-bit register numbers
    {"i2c/3/0x51.bin", 8192, filling::offsets}, // EEPROM, 16-bit register addresses
    {"i2c/3/0x52.bin", 256, filling::ones},     // EEPROM...
    {"i2c/3/0x52.pec", 0, filling::zeros},      // ...that demands a packet error code
    {"gpio/0.bin", 64, filling::toggle},        // a byte a pin
    {lpc_image, 65536, filling::zeros},
    {fpga_image, fpga_image_bytes, filling::zeros},
    {fpga_flash_image, 1 << 20, filling::zeros},
    {"pci/0:31.0.bin", 256, filling::zeros},
    {mem_image, 1ULL << 32, filling::zeros}, // all that 32-bit addresses reach
    {nvram_image, nvram_bytes, filling::zeros},
    {bmc_image, 15, filling::zeros},           // the response to Get Device ID
    {oem_image, 4ULL * 65536, filling::zeros}, // 65536 registers of 4 bytes
};

struct sample_bytes {
    const char *image;
    uint64_t offset;
    std::string_view bytes;
};

constexpr sample_bytes contents[] = {
    {"i2c/3/0x48.bin", 0, "\xf5\x80"sv},         // -10.5 degrees in 12 bits, left-justified
    {"i2c/3/0x48.bin", 4, "\x4b\x00\x50\x00"sv}, // limits: 75 and 80 degrees
    {"i2c/3/0x50.bin", 0x00, "BOARDSIM SAMPLE EEPROM\0"sv},
    {"i2c/3/0x50.bin", 0x20, "1.0a.2.7-b\0"sv}, // version
    {"i2c/3/0x51.bin", 0x0100, "BOARDSIM LARGE EEPROM\0"sv},
    {lpc_image, 0x0200, "LPC\0"sv},
    {fpga_image, 0x0000, "FPGA"sv},
    {"pci/0:31.0.bin", 0x00, "\xad\xb0\x01\x0d"sv}, // vendor 0xb0ad, device 0x0d01
    {"pci/0:31.0.bin", 0x08, "\x02\x00\x01\x06"sv}, // revision 2, an ISA bridge
    {mem_image, 0x80000000, "BOARDSIM SAMPLE MEMORY\0"sv},
    {nvram_image, 1058, "\x01"sv},                              // valid; the verbosity at 1060 is 0
    {bmc_image, 0, "\x20\x81\x01\x02\x02\x9f\xad\xb0\0\x01"sv}, // IPMI 2.0, firmware 1.02
    {oem_image, 0x48d0, "\x11\x22\x33\x44"sv},                  // register 0x1234
};

uint8_t filled(filling fill, uint64_t offset)
{
    switch (fill) {
    case filling::offsets:
        return static_cast<uint8_t>(offset + (offset >> 8));
    case filling::ones:
        return UINT8_MAX;
    case filling::toggle:
        return offset & 1;
    default:
        return 0;
    }
}

bool fill_image(int fd, const sample_image &image)
{
    if (ftruncate(fd, static_cast<off_t>(image.size)) != 0) {
        return false;
    }
    if (image.fill == filling::zeros) {
        return true;
    }
    std::string bytes;
    for (uint64_t i = 0; i < image.size; i++) {
        bytes += static_cast<char>(filled(image.fill, i));
    }
    return write(fd, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
}

bool make_image(const std::filesystem::path &path, const sample_image &image)
{
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    const bool good = fd >= 0 && fill_image(fd, image);
    if (!good) {
        complain("%s: %s", path.c_str(), strerror(errno));
    }
    if (fd >= 0) {
        close(fd);
    }
    return good;
}

bool put_contents(const board &b, const sample_bytes &part)
{
    std::vector<uint8_t> bytes;
    for (const char c : part.bytes) {
        bytes.push_back(static_cast<uint8_t>(c));
    }
    return image_write(b, part.image, part.offset, bytes);
}

bool write_board(const board &b)
{
    for (const sample_image &image : images) {
        if (!make_image(board_path(b, image.name), image)) {
            return false;
        }
    }
    for (const sample_bytes &part : contents) {
        if (!put_contents(b, part)) {
            return false;
        }
    }
    return true;
}

// Makes the folder; false, told, when it holds something that nobody said may be overwritten.
bool prepare_folder(const std::filesystem::path &folder, bool force)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!error && !force && !std::filesystem::is_empty(folder, error) && !error) {
        complain("%s is not empty; --force writes the sample board over what it holds", folder.c_str());
        return false;
    }
    if (error) {
        complain("%s: %s", folder.c_str(), error.message().c_str());
        return false;
    }
    return true;
}

// Reads the command line; null, told, when it does not name one folder.
const char *folder_of(arguments args, bool &force)
{
    const char *folder = nullptr;
    for (const char *word : args) {
        if (std::string_view(word) == "--force") {
            force = true;
        } else if (*word == '-' || folder != nullptr) {
            complain_usage(*word == '-' ? "unknown option: %s" : "one folder too many: %s", word);
            return nullptr;
        } else {
            folder = word;
        }
    }
    if (folder == nullptr) {
        complain_usage("no folder is named");
    }
    return folder;
}

} // namespace

int run_init(arguments args)
{
    bool force = false;
    const char *folder = folder_of(args, force);
    if (folder == nullptr) {
        return status_usage;
    }
    if (!prepare_folder(folder, force)) {
        return status_device;
    }
    board b;
    const bool good = open_board(b, folder) && lock_board(b) && write_board(b);
    close_board(b);
    return good ? status_ok : status_device;
}

} // namespace boardsim
