/* SPDX-License-Identifier: MIT */
// One tool run that is answered through a FIFO: the frame of every read that a tool serves.
//
// fifo_run_begin() makes the FIFO and opens it; the caller builds its command; fifo_run_end() runs it, reads
// the answer once and removes the FIFO. What differs between the tools is data.
#ifndef BOARDDIAG_CORE_FIFO_RUN_H
#define BOARDDIAG_CORE_FIFO_RUN_H

#include <cstdint>

#include "core/command.h"

namespace boarddiag {

/// Milliseconds of a clock that only moves forward, for deadlines.
int64_t now_ms();

/// What one tool's read differs in from the next.
struct fifo_frame {
    const char *create_failed;  // error; may show the path
    const char *open_failed;    // error; may show the path and its first character
    const char *command_traced; // shows the command at level 1 before it runs; null: it is not shown
    const char *run_failed;     // error; shows the mark of a failed run; null: a failed run is silent
    uint32_t failed_status;     // what a failed run returns; 0: the raw wait status
    int count_level;
    const char *count_traced; // shows the number of bytes read, at count_level
};

/// One call that goes through the frame.
struct fifo_call {
    const fifo_frame *frame;
    const char *function; // the public function, for error reports
    const char *pipe;     // path of the FIFO
    void *data;           // where the answer goes
    int64_t length;       // bytes to read at most; 0 or less, or above INT32_MAX: nothing is read
    int fd;
    int cancel_state; // of the thread, which is not cancelled between begin and end
};

/// Makes and opens the FIFO. 0, or DIAG_ERR_FAILED after its report; a FIFO that could not be opened stays.
uint32_t fifo_run_begin(fifo_call *call);

/// Closes what fifo_run_begin() opened, on the one path that all calls leave by. With a `status` other than 0
/// (the command could not be built) that is all; otherwise runs the command and reads the answer.
uint32_t fifo_run_end(const fifo_call *call, uint32_t status, const command_line *command);

} // namespace boarddiag

#endif
