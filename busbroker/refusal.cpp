/* SPDX-License-Identifier: MIT */
#include "busbroker/refusal.h"

#include <boarddiag/core.h>

#include "core/reason.h"

void boarddiag::tell_refusal(int level, const char *message)
{
    diag_print(level, "%s", message);
    set_reason("%s", message);
}
