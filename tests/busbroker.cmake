# SPDX-License-Identifier: MIT
diag_test(frame_test busbroker/frame_test.cpp)
diag_test(receive_test busbroker/receive_test.cpp)
# Lets a test make a chosen allocation of the library fail.
target_link_options(frame_test PRIVATE -Wl,--wrap=malloc)
target_link_options(receive_test PRIVATE -Wl,--wrap=malloc)
