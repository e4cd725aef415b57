# SPDX-License-Identifier: MIT
diag_test(commands_test access/commands_test.cpp)
diag_test(ipmi_access_test access/ipmi_access_test.cpp access/ipmi_text_test.cpp)
diag_test(process_test access/process_test.cpp)
diag_test(real_ipmitool_test access/real_ipmitool_test.cpp)
