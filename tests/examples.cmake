# SPDX-License-Identifier: MIT
if(TARGET board_check)
  diag_test(board_check_test LOCK nvram_pipe examples/board_check_test.cpp)
  target_compile_definitions(board_check_test PRIVATE BOARD_CHECK="$<TARGET_FILE:board_check>")
  add_dependencies(board_check_test board_check)
endif()
