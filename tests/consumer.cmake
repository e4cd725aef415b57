# SPDX-License-Identifier: MIT
# The public headers as other people's programs see them: C11 and C++17, with the strict warning set.
add_executable(consumer_c11 consumer/c11.c)
set_target_properties(consumer_c11 PROPERTIES LINKER_LANGUAGE C)
add_executable(consumer_cpp17 consumer/cpp17.cpp)
set_target_properties(consumer_cpp17 PROPERTIES CXX_STANDARD 17)
foreach(consumer IN ITEMS consumer_c11 consumer_cpp17)
  target_link_libraries(${consumer} PRIVATE boarddiag boarddiag_warnings)
  add_test(NAME ${consumer} COMMAND ${consumer})
  set_tests_properties(${consumer} PROPERTIES TIMEOUT 10)
endforeach()
