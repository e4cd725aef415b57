# SPDX-License-Identifier: MIT
diag_test(frame_test busbroker/frame_test.cpp)
diag_test(receive_test busbroker/receive_test.cpp)
diag_test(socket_cfg_test busbroker/socket_cfg_test.cpp)
diag_test(queues_test busbroker/queues_test.cpp)
diag_test(response_test busbroker/response_test.cpp)
diag_test(request_test busbroker/request_test.cpp)
diag_test(load_test busbroker/load_test.cpp)
