/* SPDX-License-Identifier: MIT */
#include "access/tool.h"

#include <boarddiag/access.h>
#include <boarddiag/core.h>

static_assert(SYS_CMD_MAX_SIZE == boarddiag::command_size);

bool boarddiag::is_dry_run()
{
    return get_debug_enable() != 0;
}

bool boarddiag::dry_read(uint8_t *data)
{
    if (is_dry_run()) {
        data[0] = dry_run_byte;
        return true;
    }
    return false;
}

uint32_t boarddiag::fifo_read(fifo_call *call, const command_line *command)
{
    if (dry_read(static_cast<uint8_t *>(call->data))) {
        return 0;
    }
    const uint32_t status = fifo_run_begin(call);
    return status != 0 ? status : fifo_run_end(call, 0, command);
}
