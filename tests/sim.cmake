# SPDX-License-Identifier: MIT
diag_test(sim_test sim/tools_test.cpp sim/ipmi_test.cpp sim/faults_test.cpp sim/init_test.cpp)
