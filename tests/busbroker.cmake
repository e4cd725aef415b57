# SPDX-License-Identifier: MIT
diag_test(socket_cfg_test busbroker/socket_cfg_test.cpp)
diag_test(queues_test busbroker/queues_test.cpp busbroker/loopback.cpp)
diag_test(response_test busbroker/response_test.cpp busbroker/failing_alloc.cpp busbroker/loopback.cpp)
diag_test(request_test busbroker/request_test.cpp busbroker/failing_alloc.cpp busbroker/loopback.cpp)
foreach(name IN ITEMS response_test request_test)
  target_link_options(${name} PRIVATE -Wl,--wrap=malloc,--wrap=calloc,--wrap=strdup)
endforeach()
