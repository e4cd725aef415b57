/* SPDX-License-Identifier: MIT */
#include "board.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "message.h"

namespace boardsim {

namespace {

enum class direction : uint8_t { read, write };

ssize_t transfer(int fd, direction way, uint8_t *bytes, size_t count, uint64_t offset)
{
    const off_t at = static_cast<off_t>(offset);
    return way == direction::read ? pread(fd, bytes, count, at) : pwrite(fd, bytes, count, at);
}

bool transfer_all(int fd, direction way, std::span<uint8_t> bytes, uint64_t offset)
{
    while (!bytes.empty()) {
        const ssize_t done = transfer(fd, way, bytes.data(), bytes.size(), offset);
        if (done < 0 && errno == EINTR) {
            continue;
        }
        if (done <= 0) {
            return false;
        }
        bytes = bytes.subspan(static_cast<size_t>(done));
        offset += static_cast<uint64_t>(done);
    }
    return true;
}

bool in_range(const std::string &name, uint64_t size, uint64_t offset, size_t count)
{
    if (offset > size || count > size - offset) {
        complain("%s holds %" PRIu64 " bytes; no %zu bytes from offset 0x%" PRIx64, name.c_str(), size, count,
                 offset);
        return false;
    }
    return true;
}

bool access_image(const board &b, std::string_view image, direction way, uint64_t offset,
                  std::span<uint8_t> bytes)
{
    if (!image_covers(b, image, offset, bytes.size())) {
        return false;
    }
    const std::string path = board_path(b, image);
    const int fd = open(path.c_str(), (way == direction::read ? O_RDONLY : O_WRONLY) | O_CLOEXEC);
    const bool good = fd >= 0 && transfer_all(fd, way, bytes, offset);
    if (!good) {
        complain("%s: %s", path.c_str(), strerror(errno));
    }
    if (fd >= 0) {
        close(fd);
    }
    return good;
}

} // namespace

bool open_board(board &b, const char *folder)
{
    if (folder == nullptr || *folder == '\0') {
        complain("BOARDSIM_DIR names no board; make one with: boardsim init FOLDER");
        return false;
    }
    b.folder = folder;
    b.lock_fd = open(board_path(b, lock_file).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (b.lock_fd < 0) {
        complain("no board in %s: %s", folder, strerror(errno));
        return false;
    }
    return true;
}

void close_board(board &b)
{
    if (b.lock_fd >= 0) {
        close(b.lock_fd);
        b.lock_fd = -1;
    }
}

bool lock_board(const board &b)
{
    while (flock(b.lock_fd, LOCK_EX) != 0) {
        if (errno != EINTR) {
            complain("cannot lock the board: %s", strerror(errno));
            return false;
        }
    }
    return true;
}

void unlock_board(const board &b)
{
    flock(b.lock_fd, LOCK_UN);
}

std::string board_path(const board &b, std::string_view name)
{
    return b.folder + '/' + std::string(name);
}

bool board_has(const board &b, std::string_view name)
{
    return access(board_path(b, name).c_str(), F_OK) == 0;
}

std::optional<uint64_t> image_size(const board &b, std::string_view image)
{
    struct stat info = {};
    errno = 0;
    if (stat(board_path(b, image).c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        complain("no such device: %s: %s", std::string(image).c_str(),
                 errno != 0 ? strerror(errno) : "not a plain file");
        return std::nullopt;
    }
    return static_cast<uint64_t>(info.st_size);
}

bool image_covers(const board &b, std::string_view image, uint64_t offset, size_t count)
{
    const std::optional<uint64_t> size = image_size(b, image);
    return size && in_range(std::string(image), *size, offset, count);
}

bool image_read(const board &b, std::string_view image, uint64_t offset, std::span<uint8_t> out)
{
    return access_image(b, image, direction::read, offset, out);
}

bool image_write(const board &b, std::string_view image, uint64_t offset, std::span<const uint8_t> in)
{
    // One transfer loop serves both directions; writing leaves the bytes as they are.
    return access_image(b, image, direction::write, offset, {const_cast<uint8_t *>(in.data()), in.size()});
}

std::optional<std::string> read_text(const board &b, std::string_view name)
{
    const int fd = open(board_path(b, name).c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return std::nullopt;
    }
    std::string text;
    char block[4096];
    for (ssize_t n = read(fd, block, sizeof block); n > 0; n = read(fd, block, sizeof block)) {
        text.append(block, static_cast<size_t>(n));
    }
    close(fd);
    return text;
}

bool log_command(const board &b, const std::string &line)
{
    std::string entry = line;
    for (char &c : entry) {
        if (is_control(c)) {
            c = '?'; // one run, one line, whatever a path or a request holds
        }
    }
    entry += '\n';
    const int fd = open(board_path(b, command_log).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    const bool good = fd >= 0 && write(fd, entry.data(), entry.size()) == static_cast<ssize_t>(entry.size());
    if (!good) {
        complain("cannot log to %s: %s", command_log, strerror(errno));
    }
    if (fd >= 0) {
        close(fd);
    }
    return good;
}

unsigned logged_runs(const board &b, std::string_view tool)
{
    const std::string log = read_text(b, command_log).value_or("");
    unsigned runs = 0;
    for (size_t start = 0; start < log.size();) {
        const size_t end = std::min(log.find('\n', start), log.size());
        const std::string_view line = std::string_view(log).substr(start, end - start);
        const bool named = line.starts_with(tool);
        runs += named && (line.size() == tool.size() || line[tool.size()] == ' ') ? 1U : 0U;
        start = end + 1;
    }
    return runs;
}

} // namespace boardsim
