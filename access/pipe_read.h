/* SPDX-License-Identifier: MIT */
// One tool run that is answered by the text that the tool prints: started, read in bounded pieces, closed.
#ifndef BOARDDIAG_ACCESS_PIPE_READ_H
#define BOARDDIAG_ACCESS_PIPE_READ_H

#include <cstdint>
#include <span>
#include <string_view>

#include "core/command.h"
#include "core/output.h"

namespace boarddiag {

/// What one tool's read differs in from the next.
struct pipe_frame {
    int traced_level;
    const char *traced;       // shows the command before it starts
    const char *start_failed; // error; may show the command
    bool reads_to_end;        // what follows the answer is read too, however long it comes, and dropped
};

/// The output of a running tool. It is never read without end: when the text that was read has grown far
/// beyond the wanted one, it counts as ended.
struct pipe_text {
    command_output output;
    int64_t left; // bytes that will still be read
    size_t next;  // of what waits in `waiting`
    size_t end;
    char waiting[512];
};

/// Takes the answer of a read from its text; the status is that of the call.
using pipe_consumer = uint32_t (*)(pipe_text *text, void *context);

struct pipe_call {
    const pipe_frame *frame;
    const char *function; // the public function, for error reports
    int64_t wanted;       // bytes that the answer has, for the bound of the text
    pipe_consumer consume;
    void *context;
};

/// Traces and starts the command, has its output consumed, and closes it: a tool that goes on printing loses
/// its reader, unless its frame reads to the end. -1 after a report when it could not be started. The thread
/// is not cancelled meanwhile.
uint32_t pipe_read(const pipe_call *call, const command_line *command);

/// The next piece of the text in `buffer`, terminated and cut as fgets() does: up to the end of the line or
/// the buffer. Empty at the end of the output.
std::string_view next_line(pipe_text *text, std::span<char> buffer);
/// The same without regard to lines: as much as there is and fits.
std::string_view next_block(pipe_text *text, std::span<char> buffer);

/// Shows a piece of text in a message of `level`, up to its first zero; what drives a terminal shows escaped.
void show_text(int level, const char *format, std::string_view piece);

} // namespace boarddiag

#endif
