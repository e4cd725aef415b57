/* SPDX-License-Identifier: MIT */
#include "core/answer.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace {

using boarddiag::fifo_answer;

// How often a FIFO is looked at that is not full, and a tool whose end nothing tells.
constexpr int look_interval_ms = 10;
constexpr int blind_interval_ms = 1;
constexpr int max_reads = 1024;

ssize_t read_now(int fd, void *to, size_t size)
{
    ssize_t got = 0;

    do {
        got = read(fd, to, size);
    } while (got < 0 && errno == EINTR);
    return got;
}

bool fifo_is_full(int fd)
{
    struct pollfd writable = {fd, POLLOUT, 0};

    return poll(&writable, 1, 0) == 0;
}

// Takes out what the FIFO holds, in so many reads at most that somebody who writes for ever holds up nobody.
// Without memory it is read all the same, and counts as lost.
void empty_fifo(fifo_answer *answer)
{
    uint8_t dropped[4096];
    ssize_t got = 1;

    for (int reads = 0; reads < max_reads && got > 0; reads++) {
        const size_t room = answer->kept != nullptr ? answer->wanted - answer->length : 0;
        void *to = room != 0 ? answer->kept + answer->length : dropped;
        got = read_now(answer->fd, to, room != 0 ? room : sizeof dropped);
        answer->length += room != 0 && got > 0 ? static_cast<size_t>(got) : 0;
    }
}

} // namespace

void boarddiag::watch_answer(fifo_answer *answer, int end_fd)
{
    struct pollfd watched[] = {{end_fd, POLLIN, 0}, {answer->is_full ? answer->fd : -1, POLLIN, 0}};
    const int idle_ms = answer->is_full ? -1 : look_interval_ms;

    poll(watched, 2, end_fd < 0 ? blind_interval_ms : idle_ms);
    if (watched[0].revents != 0) {
        return; // what is in the FIFO stays there for the one read behind the end
    }
    if (!answer->is_full && fifo_is_full(answer->fd)) {
        answer->is_full = true;
        answer->kept = static_cast<uint8_t *>(malloc(std::max<size_t>(answer->wanted, 1)));
    }
    if (answer->is_full) {
        empty_fifo(answer);
    }
}

ssize_t boarddiag::take_answer(fifo_answer *answer, void *data)
{
    if (!answer->is_full) {
        return read_now(answer->fd, data, answer->wanted);
    }
    empty_fifo(answer);
    if (answer->kept == nullptr) {
        errno = ENOMEM;
        return -1;
    }
    memcpy(data, answer->kept, answer->length);
    return static_cast<ssize_t>(answer->length);
}

void boarddiag::drop_answer(fifo_answer *answer)
{
    free(answer->kept);
    answer->kept = nullptr;
}
