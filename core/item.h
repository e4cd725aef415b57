/* SPDX-License-Identifier: MIT */
// The sizes of the items that the utilities store and swap, which their callers name in bits.
#ifndef BOARDDIAG_CORE_ITEM_H
#define BOARDDIAG_CORE_ITEM_H

#include <cstddef>

namespace boarddiag {

/// Bytes of an item of `width` bits: 1, 2 or 4 for 8, 16 or 32; any other width means an item of 64 bits.
constexpr size_t item_size(int width)
{
    return width == 8 ? 1 : width == 16 ? 2 : width == 32 ? 4 : 8;
}

} // namespace boarddiag

#endif
