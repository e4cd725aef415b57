# SPDX-License-Identifier: MIT
# The board stands in for the tools and the broker below the mailbox, and for the clock.
diag_test(fpga_test fpga/board.cpp fpga/indirect_test.cpp fpga/mailbox_test.cpp fpga/operation_test.cpp)
foreach(function IN ITEMS lpctool_get lpctool_set request_busbroker waitfor_timeout usleep)
  target_link_options(fpga_test PRIVATE LINKER:--wrap=${function})
endforeach()
