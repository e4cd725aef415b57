/* SPDX-License-Identifier: MIT */
#include "core/output.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "core/edge.h"
#include "core/spawn.h"

namespace {

using boarddiag::command_output;
using boarddiag::plain_command;
using boarddiag::run_signals;

// Starts `command` with its output on `pipe_end`, without a shell if it can.
bool spawn_output(const char *command, int pipe_end, bool plainly, pid_t *pid)
{
    posix_spawn_file_actions_t actions;
    plain_command plain;
    run_signals signals;

    if (plainly &&
        (!boarddiag::split_plain_command(command, &plain) || plain.redirect[STDOUT_FILENO] != nullptr)) {
        return false;
    }
    if (posix_spawn_file_actions_init(&actions) != 0) {
        return false;
    }
    boarddiag::signals_of_child(&signals);
    bool started = posix_spawn_file_actions_adddup2(&actions, pipe_end, STDOUT_FILENO) == 0;
    if (plainly) {
        started = started && boarddiag::add_redirections(&plain, &actions) &&
                  boarddiag::spawn_plain(&plain, &actions, &signals, pid) == 0;
    } else {
        started = started && boarddiag::spawn_shell(command, &actions, &signals, pid) == 0;
    }
    posix_spawn_file_actions_destroy(&actions);
    return started;
}

bool spawn_output_on_pipe(const char *command, command_output *output)
{
    int ends[2];

    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    const bool started = spawn_output(command, ends[1], true, &output->pid) ||
                         spawn_output(command, ends[1], false, &output->pid);
    const int error = errno;
    close(ends[1]);
    output->fd = ends[0];
    if (!started) {
        close(ends[0]);
        errno = error;
    }
    return started;
}

// Up to the end of a line, so that nobody waits for more than was asked.
ssize_t read_stream(FILE *stream, std::span<char> buffer)
{
    size_t got = 0;

    while (got < buffer.size()) {
        errno = 0;
        const int c = getc(stream);
        if (c == EOF && ferror(stream) != 0 && errno == EINTR) {
            clearerr(stream);
            continue;
        }
        if (c == EOF) {
            break;
        }
        buffer[got++] = static_cast<char>(c);
        if (c == '\n') {
            break;
        }
    }
    return static_cast<ssize_t>(got);
}

} // namespace

bool boarddiag::start_output(const char *command, command_output *output)
{
    output->stream = nullptr;
    if (is_own_popen()) {
        output->stream = popen(command, "r");
        return output->stream != nullptr;
    }
    return spawn_output_on_pipe(command, output);
}

ssize_t boarddiag::read_output(const command_output *output, std::span<char> buffer)
{
    ssize_t got = 0;

    if (output->stream != nullptr) {
        return read_stream(output->stream, buffer);
    }
    do {
        got = read(output->fd, buffer.data(), buffer.size());
    } while (got < 0 && errno == EINTR);
    return got;
}

int boarddiag::close_output(const command_output *output)
{
    if (output->stream != nullptr) {
        return pclose(output->stream);
    }
    close(output->fd);
    return shell_status(wait_for(output->pid));
}
