# SPDX-License-Identifier: MIT
if(TARGET board_check)
  diag_test(board_check_test LOCK nvram_pipe examples/board_check_test.cpp)
  # The shell that runs it is the host's and knows of no emulator.
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
  target_compile_definitions(board_check_test PRIVATE BOARD_CHECK="${emulator} $<TARGET_FILE:board_check>")
  add_dependencies(board_check_test board_check)
endif()
