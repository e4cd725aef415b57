/* SPDX-License-Identifier: MIT */
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include <boarddiag/core.h>

#include "core/fifo_run.h"
#include "core/report.h"

static_assert(sizeof(struct nvram_record) == NVRAM_RECORD_SIZE);
static_assert(offsetof(struct nvram_record, valid) == 1058);
static_assert(offsetof(struct nvram_record, verb_level) == 1060);

namespace {

constexpr const char *nvram_tool = "nvramtool";
constexpr const char *nvram_pipe = "/tmp/nvram_pipe";
constexpr const char *broker_name = "busbroker";

constexpr boarddiag::fifo_frame nvram_frame = {
    .create_failed = "Error Creating I2C pipe\n",
    .open_failed = "Could Not open End of i2c Pipe \n",
    .command_traced = nullptr,
    .run_failed = "%s\nError Reading from nvram\n",
    .failed_status = DIAG_ERR_FAILED,
    .count_level = 1,
    .count_traced = "nvram_query read %d bytes from the fifo\n",
};

constexpr int min_level = -1;
constexpr int max_level = 3;

// The value of a variable as a decimal number, of which the low 32 bits count.
bool decimal_variable(const char *name, int *value)
{
    const char *text = getenv(name);

    if (text == nullptr) {
        return false;
    }
    *value = static_cast<int>(static_cast<uint32_t>(strtol(text, nullptr, 10)));
    return true;
}

bool is_valid_level(int level)
{
    return level >= min_level && level <= max_level;
}

void configure_verb_level()
{
    int level = 0;

    if (!decimal_variable("VERB_LEVEL", &level)) {
        return;
    }
    if (is_valid_level(level)) {
        set_verb_level(level);
    } else {
        diag_print(1, "Invalid verb level %d - Valid range 0..3\n", level);
    }
}

void configure_log_level()
{
    int level = 0;

    if (decimal_variable("LOG_LEVEL", &level) && !is_valid_level(level)) {
        diag_print(1, "Invalid log level %d - Valid range 0..3. Defaulting to 0\n", level);
        level = 0;
    }
    set_log_level(level);
}

// The bus broker queries through a FIFO of its own and tells nvramtool not to ask the broker for the access;
// nvramtool itself must not start another nvramtool.
void configure_from_nvram(const char *name)
{
    struct nvram_record record;
    char own_pipe[100];
    const bool is_broker = strstr(name, broker_name) != nullptr;

    if (!is_broker && strcmp(name, nvram_tool) == 0) {
        return;
    }
    snprintf(own_pipe, sizeof own_pipe, "%s_%d", nvram_pipe, getpid());
    if (nvramtool_query(is_broker ? own_pipe : nvram_pipe, &record, is_broker) == 0) {
        set_nvram_verb_level(&record);
    }
}

void configure_dry_run()
{
    int value = 0;

    if (decimal_variable("DIAG_DEBUG", &value)) {
        set_debug_enable(value);
    }
}

} // namespace

void diag_system_init(const char *name)
{
    configure_verb_level();
    set_config_debug_enable(getenv("CONFIG_DEBUG") != nullptr);
    configure_from_nvram(name);
    configure_log_level();
    diag_syslog_init(name);
    configure_dry_run();
}

uint32_t nvramtool_query(const char *pipe, void *record, bool busbroker)
{
    boarddiag::fifo_call call = {&nvram_frame, __func__, pipe, record, NVRAM_RECORD_SIZE, -1, 0};
    boarddiag::command_line command;

    memset(record, 0, NVRAM_RECORD_SIZE);
    const uint32_t status = boarddiag::fifo_run_begin(&call);
    if (status != 0) {
        return status;
    }
    boarddiag::command_format(
        &command, busbroker ? "%s --query --pipe=%s --busbroker" : "%s --query --pipe=%s", nvram_tool, pipe);
    return boarddiag::fifo_run_end(&call, 0, &command);
}

void set_nvram_verb_level(const void *record)
{
    struct nvram_record found;

    if (record == nullptr) {
        REPORT_ERROR(__func__, "NVRAM is not valid. Could not set Verbosity level\n");
        REPORT_ERROR(__func__, "NVRAM is not valid\n");
        return;
    }
    memcpy(&found, record, sizeof found); // a buffer of bytes may stand anywhere
    if (found.valid != 0 && found.verb_level > get_verb_level()) {
        set_verb_level(found.verb_level);
    }
}
