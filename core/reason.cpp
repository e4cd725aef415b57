/* SPDX-License-Identifier: MIT */
// What a status means, and why the calling thread's last failed call failed.
#include "core/reason.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <sys/wait.h>

#include <boarddiag/core.h>

#include "core/command.h"
#include "core/printable.h"
#include "core/report.h"

namespace {

// A whole command line, and what became of it.
constexpr size_t reason_size = boarddiag::command_size + 128;
constexpr size_t status_size = 80;

constexpr int signal_base = 128; // a shell adds the number of the signal that a command died of
constexpr int max_named = 32;    // beyond are exit statuses that programs choose

thread_local char reason[reason_size];
thread_local char status_text[status_size];

struct status_words {
    uint32_t status;
    const char *words;
};

constexpr status_words known_statuses[] = {
    {0, "success"},
    {DIAG_ERR_FAILED, "operation failed"},
    {DIAG_ERR_INVALID_ARG, "invalid argument"},
    {DIAG_ERR_NO_MEMORY, "out of memory"},
    {DIAG_ERR_ACCESS, "FPGA read buffer could not be read"},
    {DIAG_ERR_LPC_ACCESS, "lpctool failed"},
    {DIAG_ERR_BAD_HEX_DIGIT, "not a hexadecimal digit"},
    {boarddiag::status_minus_one, "call failed"},
};

const char *describe(uint32_t status, char (&room)[status_size])
{
    for (const status_words &known : known_statuses) {
        if (known.status == status) {
            return known.words;
        }
    }
    const int code = static_cast<int>(status);
    if (status > UINT16_MAX) {
        snprintf(room, sizeof room, "unknown status 0x%08x", static_cast<unsigned>(status));
    } else if (WIFSIGNALED(code)) {
        snprintf(room, sizeof room, "signal %d (%s)", WTERMSIG(code), strsignal(WTERMSIG(code)));
    } else if (WEXITSTATUS(code) > signal_base && WEXITSTATUS(code) < signal_base + max_named) {
        snprintf(room, sizeof room, "exit status %d (%s)", WEXITSTATUS(code),
                 strsignal(WEXITSTATUS(code) - signal_base));
    } else {
        snprintf(room, sizeof room, "exit status %d%s", WEXITSTATUS(code),
                 WEXITSTATUS(code) == 127 ? " (no such command)" : "");
    }
    return room;
}

} // namespace

void boarddiag::set_reason(const char *format, ...)
{
    const int kept = errno;
    char line[reason_size];
    va_list args;

    va_start(args, format);
    vsnprintf(line, sizeof line, format, args);
    va_end(args);
    size_t length = strlen(line);
    while (length != 0 && line[length - 1] == '\n') {
        length--;
    }
    printable(reason, {line, length});
    errno = kept;
}

void boarddiag::note_failed_run(const char *command, int status)
{
    char words[status_size];

    set_reason("%s: %s", command,
               status == -1 ? strerror(errno) : describe(static_cast<uint32_t>(status), words));
}

const char *diag_reason(void)
{
    return reason;
}

const char *diag_status_text(uint32_t status)
{
    return describe(status, status_text);
}
