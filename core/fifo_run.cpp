/* SPDX-License-Identifier: MIT */
#include "core/fifo_run.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/answer.h"
#include "core/reason.h"
#include "core/report.h"
#include "core/run.h"

namespace {

using boarddiag::fifo_answer;
using boarddiag::fifo_call;

constexpr mode_t fifo_mode = 0666;

// The tool has ended when its answer is read, so what has not come by now hardly ever comes.
constexpr int64_t answer_limit_ms = 1000;

bool make_fifo(const char *pipe)
{
    if (mkfifo(pipe, fifo_mode) == 0) {
        return true;
    }
    const int kept = unlink(pipe) == 0 || errno == ENOENT ? 0 : errno; // why something stays in the way
    if (mkfifo(pipe, fifo_mode) == 0) {
        return true;
    }
    errno = errno == EEXIST && kept != 0 ? kept : errno;
    return false;
}

// A program may have closed its standard streams: what is printed there must not become the answer.
int above_standard_streams(int fd)
{
    if (fd < 0 || fd > STDERR_FILENO) {
        return fd;
    }
    const int moved = fcntl(fd, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const int error = errno;
    close(fd);
    errno = error;
    return moved;
}

// Both ends at once: the open waits for no writer, and the tool finds a reader.
int open_fifo(const char *pipe)
{
    const int fd = above_standard_streams(open(pipe, O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    struct stat found;

    if (fd >= 0 && (fstat(fd, &found) != 0 || !S_ISFIFO(found.st_mode))) {
        close(fd); // somebody put something else in the FIFO's place
        errno = EEXIST;
        return -1;
    }
    return fd;
}

// 1 when bytes are there, 0 when none came in time, -1 on failure.
int wait_for_bytes(int fd)
{
    const int64_t deadline = boarddiag::now_ms() + answer_limit_ms;
    struct pollfd wanted = {fd, POLLIN, 0};
    int ready = 0;

    do {
        const int64_t left = deadline - boarddiag::now_ms();
        ready = poll(&wanted, 1, left > 0 ? static_cast<int>(left) : 0);
    } while (ready < 0 && errno == EINTR);
    return ready;
}

// What the call's own message tells of its answer.
int read_answer(const fifo_call *call, fifo_answer *answer)
{
    if (answer->wanted == 0) {
        return 0;
    }
    ssize_t got = boarddiag::take_answer(answer, call->data);
    if (got < 0 && errno == EAGAIN) {
        const int ready = wait_for_bytes(call->fd);
        if (ready == 0) {
            diag_print(0, "The tool wrote nothing into %s\n", call->pipe);
        }
        got = ready > 0 ? boarddiag::take_answer(answer, call->data) : ready;
    }
    if (got < 0 && answer->is_full) {
        diag_print(0, "No memory for the answer in %s\n", call->pipe);
    }
    return static_cast<int>(got);
}

size_t wanted_bytes(const fifo_call *call)
{
    return call->length <= 0 || call->length > INT32_MAX ? 0 : static_cast<size_t>(call->length);
}

uint32_t run(const fifo_call *call, const boarddiag::command_line *command, fifo_answer *answer)
{
    const boarddiag::fifo_frame *frame = call->frame;

    if (frame->command_traced != nullptr) {
        diag_print(1, frame->command_traced, command->text);
    }
    const int status = boarddiag::run_command(command->text, answer);
    if (status != 0) {
        boarddiag::note_failed_run(command->text, status);
        if (frame->run_failed != nullptr) {
            REPORT_FOLLOW_UP(call->function, frame->run_failed, boarddiag::tool_failed_mark);
        }
        return frame->failed_status != 0 ? frame->failed_status : static_cast<uint32_t>(status);
    }
    diag_print(frame->count_level, frame->count_traced, read_answer(call, answer));
    return 0;
}

uint32_t run_and_forget(const fifo_call *call, const boarddiag::command_line *command)
{
    fifo_answer answer = {call->fd, wanted_bytes(call), nullptr, 0, false};

    const uint32_t status = run(call, command, &answer);
    boarddiag::drop_answer(&answer);
    return status;
}

} // namespace

int64_t boarddiag::now_ms()
{
    struct timespec now;

    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

uint32_t boarddiag::fifo_run_begin(fifo_call *call)
{
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &call->cancel_state);
    if (!make_fifo(call->pipe)) {
        set_reason("%s: %s", call->pipe, strerror(errno));
        REPORT_FOLLOW_UP(call->function, call->frame->create_failed, call->pipe);
    } else if ((call->fd = open_fifo(call->pipe)) < 0) {
        set_reason("%s: %s", call->pipe, strerror(errno));
        REPORT_FOLLOW_UP(call->function, call->frame->open_failed, call->pipe, call->pipe[0]);
    } else {
        return 0;
    }
    pthread_setcancelstate(call->cancel_state, nullptr);
    return DIAG_ERR_FAILED;
}

uint32_t boarddiag::fifo_run_end(const fifo_call *call, uint32_t status, const command_line *command)
{
    const uint32_t result = status != 0 ? status : run_and_forget(call, command);

    close(call->fd);
    unlink(call->pipe);
    pthread_setcancelstate(call->cancel_state, nullptr);
    return result;
}
