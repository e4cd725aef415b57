# SPDX-License-Identifier: MIT
# Whether a failing call, tool, broker or neighbour can harm a program: told, bounded, and gone with its cause.
diag_test(failing_test trust/failing_test.cpp)
foreach(function IN ITEMS malloc calloc realloc)
  target_link_options(failing_test PRIVATE LINKER:--wrap=${function})
endforeach()
