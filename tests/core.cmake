# SPDX-License-Identifier: MIT
diag_test(log_test core/log_test.cpp)
diag_test(text_test core/text_test.cpp)
diag_test(bits_test core/bits_test.cpp)
diag_test(console_test core/console_test.cpp)
diag_test(input_test core/input_test.cpp)
diag_test(platform_test core/platform_test.cpp)
target_link_options(platform_test PRIVATE -Wl,--wrap=uname)
diag_test(version_check_test core/version_check_test.cpp)
