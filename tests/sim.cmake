# SPDX-License-Identifier: MIT
# Only here the simulated tools are searched for leaks as well.
set(leaks ASAN_OPTIONS=detect_leaks=1)
diag_test(sim_test ENVIRONMENT ${leaks} sim/tools_test.cpp)
target_compile_definitions(sim_test PRIVATE SOURCE_DIR="${PROJECT_SOURCE_DIR}")
diag_test(broker_sim_test RESOURCE_LOCK nvram_pipe ENVIRONMENT ${leaks} sim/broker_test.cpp sim/fpga_test.cpp)
