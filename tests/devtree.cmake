# SPDX-License-Identifier: MIT
diag_test(devtree_test devtree/broker_test.cpp devtree/tree_test.cpp)
foreach(function IN ITEMS calloc request_busbroker waitfor_timeout)
  target_link_options(devtree_test PRIVATE LINKER:--wrap=${function})
endforeach()
