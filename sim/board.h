/* SPDX-License-Identifier: MIT */
// The board's folder: its lock, its images and its command log. Every function tells of its failures on
// standard error; callers only pass them on.
#ifndef BOARDSIM_BOARD_H
#define BOARDSIM_BOARD_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace boardsim {

/// An open board. All images are named relative to its folder.
struct board {
    std::string folder;
    int lock_fd = -1; // the lock file, open as long as the board is
};

inline constexpr const char lock_file[] = "lock";
inline constexpr const char command_log[] = "commands.log";
inline constexpr const char fault_file[] = "faults";

/// Opens the board in `folder`; null or empty is refused (BOARDSIM_DIR is not set).
bool open_board(board &b, const char *folder);
void close_board(board &b);

/// Between these two no other tool run and no broker access touches the board. Not to be nested.
bool lock_board(const board &b);
void unlock_board(const board &b);

std::string board_path(const board &b, std::string_view name);

/// True when the file is there; silent, for files whose presence is a switch.
bool board_has(const board &b, std::string_view name);

/// The size of an image in bytes; nothing when it is missing.
std::optional<uint64_t> image_size(const board &b, std::string_view image);

/// Whether an image holds the whole range; tells when it does not.
bool image_covers(const board &b, std::string_view image, uint64_t offset, size_t count);

/// Reads or writes a whole range of an image. A missing image is a missing device, and a range that does
/// not lie inside the image is refused whole; images never grow.
bool image_read(const board &b, std::string_view image, uint64_t offset, std::span<uint8_t> out);
bool image_write(const board &b, std::string_view image, uint64_t offset, std::span<const uint8_t> in);

/// A whole text file of the board; nothing when it is absent, which is no error.
std::optional<std::string> read_text(const board &b, std::string_view name);

/// Appends one line to commands.log in one write.
bool log_command(const board &b, const std::string &line);

/// How many runs of `tool` commands.log tells of.
unsigned logged_runs(const board &b, std::string_view tool);

} // namespace boardsim

#endif
