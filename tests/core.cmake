# SPDX-License-Identifier: MIT
diag_test(log_test core/log_test.cpp)
diag_test(run_test core/run_test.cpp)
diag_test(startup_test LOCK nvram_pipe core/startup_test.cpp)
