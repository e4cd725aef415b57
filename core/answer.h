/* SPDX-License-Identifier: MIT */
// The answer that a running tool writes into a FIFO. It stays in the FIFO until the tool has ended, unless
// the FIFO gets full: then it is taken out as it comes, so that the tool never waits for a reader.
#ifndef BOARDDIAG_CORE_ANSWER_H
#define BOARDDIAG_CORE_ANSWER_H

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

namespace boarddiag {

struct fifo_answer {
    int fd;        ///< both ends of the FIFO, non-blocking
    size_t wanted; ///< bytes of it that count; what follows them is dropped
    uint8_t *kept; ///< bytes taken out so far, on the heap; null while all of them are in the FIFO
    size_t length; ///< of `kept`
    bool is_full;  ///< the FIFO was full: it is emptied from now on
};

/// Waits until `end_fd` tells that the tool has ended (readable or hung up), or for a while; empties the FIFO
/// meanwhile if it must be. An `end_fd` of -1 tells nothing.
void watch_answer(fifo_answer *answer, int end_fd);

/// The bytes of the answer as one read() behind the tool's end finds them, into `data`: their number, 0 when
/// nothing has come, -1 when it could not be read or there was no memory to keep it.
ssize_t take_answer(fifo_answer *answer, void *data);

/// Forgets the answer; what is in the FIFO stays there.
void drop_answer(fifo_answer *answer);

} // namespace boarddiag

#endif
