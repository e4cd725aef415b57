# SPDX-License-Identifier: MIT
if(TARGET board_check)
  diag_test(board_check_test RESOURCE_LOCK nvram_pipe examples/board_check_test.cpp)
  # The shell that runs it is the host's and knows of no emulator.
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
  target_compile_definitions(board_check_test PRIVATE BOARD_CHECK="${emulator} '$<TARGET_FILE:board_check>'")
  add_dependencies(board_check_test board_check)
  add_test(NAME frame_trace COMMAND frame_trace)
  set_tests_properties(frame_trace PROPERTIES TIMEOUT 10
    PASS_REGULAR_EXPRESSION " 3 transaction +00000007\n.*13 data +Success,cpu0-dyn\n.*16 end mark +RPE\n")
endif()
