# SPDX-License-Identifier: MIT
diag_test(sim_test sim/tools_test.cpp sim/faults_test.cpp sim/init_test.cpp)
diag_test(broker_sim_test sim/broker_test.cpp sim/fpga_test.cpp LOCK nvram_pipe)
