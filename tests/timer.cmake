# SPDX-License-Identifier: MIT
diag_test(timer_test timer/timer_test.cpp)
