# SPDX-License-Identifier: MIT
diag_test(frame_test access/frame_test.cpp)
