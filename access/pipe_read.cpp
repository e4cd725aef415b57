/* SPDX-License-Identifier: MIT */
#include "access/pipe_read.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <pthread.h>

#include "core/printable.h"
#include "core/reason.h"
#include "core/report.h"

namespace {

using boarddiag::command_line;
using boarddiag::pipe_call;
using boarddiag::pipe_text;

// Text that is read beyond the wanted bytes, so that a tool with more to say ends by itself; more than any
// has.
constexpr int64_t surplus = int64_t{16} * 1024 * 1024;
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

void drop_rest(pipe_text *text)
{
    do {
        text->next = text->end;
    } while (fill(text));
}

// The status of the tool decides nothing, but may tell why there is no answer; that its reader had enough
// does not.
void note_end(const command_line *command, uint32_t status, int ended)
{
    constexpr int had_enough = (128 + SIGPIPE) << 8;

    if (status != 0 && ended > 0 && ended != had_enough) {
        boarddiag::note_failed_run(command->text, ended);
    } else if (status != 0) {
        boarddiag::set_reason("%s: no answer in its output", command->text);
    }
}

uint32_t run(const pipe_call *call, const command_line *command)
{
    pipe_text text = {};

    text.left = surplus + std::max<int64_t>(call->wanted, 0) * characters_per_byte;
    if (!start_output(command->text, &text.output)) {
        boarddiag::set_reason("%s: %s", command->text, strerror(errno));
        REPORT_FOLLOW_UP(call->function, call->frame->start_failed, command->text);
        return boarddiag::status_minus_one;
    }
    const uint32_t status = call->consume(&text, call->context);
    if (call->frame->reads_to_end) {
        drop_rest(&text);
    }
    note_end(command, status, close_output(&text.output));
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

void boarddiag::show_text(int level, const char *format, std::string_view piece)
{
    char shown[shown_size];

    if (is_message_taken(level)) {
        piece = {piece.data(), std::min(piece.find('\0'), piece.size())};
        diag_print(level, format, printable(shown, piece, "\n"));
    }
}
