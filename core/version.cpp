/* SPDX-License-Identifier: MIT */
#include <boarddiag/version.h>

const char *boarddiag_version(void)
{
    return BOARDDIAG_VERSION;
}
