# SPDX-License-Identifier: MIT
# The public headers as other people's programs see them: C11, linked by the C compiler alone, and C++17, with
# the strict warning set.
configure_file(consumer/program.c ${CMAKE_CURRENT_BINARY_DIR}/program.cpp COPYONLY)
add_executable(consumer_c11 consumer/program.c)
set_target_properties(consumer_c11 PROPERTIES LINKER_LANGUAGE C)
add_executable(consumer_cpp17 ${CMAKE_CURRENT_BINARY_DIR}/program.cpp)
set_target_properties(consumer_cpp17 PROPERTIES CXX_STANDARD 17)
foreach(consumer IN ITEMS consumer_c11 consumer_cpp17)
  target_link_libraries(${consumer} PRIVATE boarddiag boarddiag_warnings)
  add_test(NAME ${consumer} COMMAND ${consumer})
  set_tests_properties(${consumer} PROPERTIES TIMEOUT 10)
endforeach()
# A status that is ignored is warned of, and nothing else.
add_test(NAME consumer_warned COMMAND sh -c
  "set -- ${CMAKE_C_COMPILER} -Werror -c -o /dev/null '-I${PROJECT_SOURCE_DIR}/include' '${CMAKE_CURRENT_SOURCE_DIR}/consumer/program.c'; \"$@\" && ! \"$@\" -DIGNORES_A_STATUS")
