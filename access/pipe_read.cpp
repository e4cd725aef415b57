/* SPDX-License-Identifier: MIT */
#include "access/pipe_read.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <pthread.h>

#include "core/fifo_run.h"
#include "core/report.h"

namespace {

using boarddiag::command_line;
using boarddiag::pipe_call;
using boarddiag::pipe_text;

// Text that is read beyond the wanted bytes, so that a tool with a little more to say ends by itself.
constexpr int64_t surplus = int64_t{1024} * 1024;
// How long a tool may go on printing behind its answer.
constexpr int64_t rest_limit_ms = 1000;
// Characters that a wanted byte takes with its separators, generously.
constexpr int64_t characters_per_byte = 4;

// Whether text waits, after reading on if none did.
bool fill(pipe_text *text)
{
    if (text->next < text->end) {
        return true;
    }
    const auto size =
        static_cast<size_t>(std::clamp<int64_t>(text->left, 0, static_cast<int64_t>(sizeof text->waiting)));
    const ssize_t got = size == 0 ? 0 : read_output(&text->output, std::span(text->waiting).first(size));
    text->next = 0;
    text->end = got > 0 ? static_cast<size_t>(got) : 0;
    text->left = got > 0 ? text->left - got : 0;
    return got > 0;
}

std::string_view next_piece(pipe_text *text, std::span<char> buffer, bool stops_at_line_end)
{
    size_t length = 0;
    bool is_whole = false;

    while (!is_whole && length + 1 < buffer.size() && fill(text)) {
        const std::string_view waiting(text->waiting + text->next, text->end - text->next);
        const size_t line_end = stops_at_line_end ? waiting.find('\n') : std::string_view::npos;
        const size_t wanted = line_end != std::string_view::npos ? line_end + 1 : waiting.size();
        const size_t taken = std::min(wanted, buffer.size() - 1 - length);
        memcpy(buffer.data() + length, waiting.data(), taken);
        is_whole = line_end != std::string_view::npos && taken == wanted;
        text->next += taken;
        length += taken;
    }
    buffer[length] = '\0';
    return {buffer.data(), length};
}

// Whether the output has more to read, or its end, before the deadline.
bool is_readable(const pipe_text *text, int64_t deadline_ms)
{
    struct pollfd output = {text->output.fd, POLLIN, 0};
    int ready = 0;

    do {
        const int64_t left = std::max<int64_t>(deadline_ms - boarddiag::now_ms(), 0);
        ready = poll(&output, 1, static_cast<int>(left));
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

void drop_rest(pipe_text *text)
{
    const int64_t deadline_ms = boarddiag::now_ms() + rest_limit_ms;

    text->next = text->end;
    while (is_readable(text, deadline_ms) && fill(text)) {
        text->next = text->end;
    }
}

uint32_t run(const pipe_call *call, const command_line *command)
{
    pipe_text text = {};

    text.left = surplus + std::max<int64_t>(call->wanted, 0) * characters_per_byte;
    if (!start_output(command->text, &text.output)) {
        REPORT_ERROR(call->function, call->frame->start_failed, command->text);
        return boarddiag::status_minus_one;
    }
    const uint32_t status = call->consume(&text, call->context);
    if (call->frame->drops_rest) {
        drop_rest(&text);
    }
    close_output(&text.output);
    return status;
}

} // namespace

uint32_t boarddiag::pipe_read(const pipe_call *call, const command_line *command)
{
    int cancel_state = 0;

    // A thread cancelled in here would leave an open pipe and a child that nobody waits for.
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state);
    diag_print(call->frame->traced_level, call->frame->traced, command->text);
    const uint32_t status = run(call, command);
    pthread_setcancelstate(cancel_state, nullptr);
    return status;
}

std::string_view boarddiag::next_line(pipe_text *text, std::span<char> buffer)
{
    return next_piece(text, buffer, true);
}

std::string_view boarddiag::next_block(pipe_text *text, std::span<char> buffer)
{
    return next_piece(text, buffer, false);
}
