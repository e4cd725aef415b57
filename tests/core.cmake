# SPDX-License-Identifier: MIT
diag_test(log_test core/log_test.cpp)
