# SPDX-License-Identifier: MIT
diag_test(frame_test busbroker/frame_test.cpp)
diag_test(receive_test busbroker/receive_test.cpp)
diag_test(socket_cfg_test busbroker/socket_cfg_test.cpp)
diag_test(queues_test busbroker/queues_test.cpp busbroker/loopback.cpp)
diag_test(response_test busbroker/response_test.cpp busbroker/failing_alloc.cpp busbroker/loopback.cpp)
diag_test(request_test busbroker/request_test.cpp busbroker/failing_alloc.cpp busbroker/loopback.cpp)
# Lets a test make a chosen allocation of the library fail.
target_link_options(frame_test PRIVATE -Wl,--wrap=malloc)
target_link_options(receive_test PRIVATE -Wl,--wrap=malloc)
target_link_options(response_test PRIVATE -Wl,--wrap=malloc,--wrap=calloc,--wrap=strdup)
target_link_options(request_test PRIVATE -Wl,--wrap=malloc,--wrap=calloc,--wrap=strdup)
