# SPDX-License-Identifier: MIT
diag_test(fifo_read_test access/fifo_read_test.cpp)
