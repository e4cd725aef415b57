# SPDX-License-Identifier: MIT
# The public headers as other people's programs see them, in the oldest standards: C90, linked by the C compiler alone,
# and C++98, with the strict warning set.
configure_file(consumer/program.c ${CMAKE_CURRENT_BINARY_DIR}/program.cpp COPYONLY)
add_executable(consumer_c90 consumer/program.c)
set_target_properties(consumer_c90 PROPERTIES C_STANDARD 90 LINKER_LANGUAGE C)
add_executable(consumer_cpp98 ${CMAKE_CURRENT_BINARY_DIR}/program.cpp)
set_target_properties(consumer_cpp98 PROPERTIES CXX_STANDARD 98)
foreach(consumer IN ITEMS consumer_c90 consumer_cpp98)
  target_link_libraries(${consumer} PRIVATE boarddiag boarddiag_warnings)
  add_test(NAME ${consumer} COMMAND ${consumer})
  set_tests_properties(${consumer} PROPERTIES TIMEOUT 10)
endforeach()
# A status that is ignored is warned of, and nothing else.
add_test(NAME consumer_warned COMMAND sh -c
  "set -- ${CMAKE_C_COMPILER} -Werror -c -o /dev/null '-I${PROJECT_SOURCE_DIR}/include' '${CMAKE_CURRENT_SOURCE_DIR}/consumer/program.c'; \"$@\" && ! \"$@\" -DIGNORES_A_STATUS")
