# SPDX-License-Identifier: MIT
# Cross-building for 64-bit Arm.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(triple aarch64-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/cross.cmake)
