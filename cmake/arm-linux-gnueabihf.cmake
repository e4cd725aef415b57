# SPDX-License-Identifier: MIT
# Cross-building for 32-bit Arm with hardware floating point.
set(CMAKE_SYSTEM_PROCESSOR armv7l)
set(triple arm-linux-gnueabihf)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
