/* SPDX-License-Identifier: MIT */
// What the files of the receive side share.
#ifndef BOARDDIAG_BUSBROKER_RECEIVE_H
#define BOARDDIAG_BUSBROKER_RECEIVE_H

#include <boarddiag/busbroker.h>

namespace boarddiag {

// What a row function returns.
inline constexpr uint32_t more_input = 0;
inline constexpr uint32_t step_done = 1;
inline constexpr uint32_t step_failed = 2;

/// The state of a machine that refused a step.
inline constexpr uint32_t invalid_state = 0xffff;

/// Characters of the buffer that the number fields are collected in.
inline constexpr uint32_t number_buffer_size = 10;

/* ---- receive_table.cpp ---- */

/// Releases the frame being read: its record and the field buffer, which may be the record's own text.
void release_frame(tool_info &tool);

/* ---- receive_clock.cpp ---- */

/// Until end_datagram() the steps of `tool` on this thread share one reading of the clock, this one: between
/// two steps in a datagram there is no gap, however long a step takes.
void begin_datagram(tool_info *tool);

/// Notes when the last step ended, so that the gap up to the next datagram counts from there.
void end_datagram(tool_info *tool);

} // namespace boarddiag

#endif
