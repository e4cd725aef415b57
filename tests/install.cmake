# SPDX-License-Identifier: MIT
# The installed library as its users meet it: what the README and the guides tell is done word for word, in folders
# of the build tree. An instrumented library asks for its own link options, so this is for the plain build.
if(BOARDDIAG_SANITIZE OR NOT BOARDDIAG_INSTALL OR NOT BOARDDIAG_BUILD_SIM OR CMAKE_CROSSCOMPILING)
  return()
endif()
set(work ${CMAKE_CURRENT_BINARY_DIR}/install)
set(guide ${CMAKE_CURRENT_SOURCE_DIR}/install/guide.sh)

# install_test(NAME [BUILDS_ONLY] COMMAND ... [PROPERTIES ...]): with BUILDS_ONLY it builds the library once more, on two
# cores when it has them; beside other builds of a busy machine that lasts many times as long as on an idle one. Without
# it also runs programs, whose start queries the NVRAM through one fixed path.
function(install_test name)
  cmake_parse_arguments(PARSE_ARGV 1 test "BUILDS_ONLY" "" "COMMAND;PROPERTIES")
  add_test(NAME ${name} COMMAND ${test_COMMAND})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300 SKIP_RETURN_CODE 77 ${test_PROPERTIES})
  if(test_BUILDS_ONLY)
    set_tests_properties(${name} PROPERTIES TIMEOUT 900 PROCESSORS 2)
  else()
    set_tests_properties(${name} PROPERTIES RESOURCE_LOCK nvram_pipe)
  endif()
endfunction()

install_test(install_readme
  COMMAND ${guide} ${PROJECT_SOURCE_DIR}/README.md ${work}/readme ${PROJECT_BINARY_DIR}
  PROPERTIES ENVIRONMENT HOME=${work}/readme/home FIXTURES_SETUP readme)
# What was installed must work wherever it is moved to.
install_test(install_moved
  COMMAND ${CMAKE_COMMAND} -E rename ${work}/readme/home/.local ${work}/readme/moved
  PROPERTIES FIXTURES_REQUIRED readme FIXTURES_SETUP moved)
foreach(page IN ITEMS CONTRIBUTING.md docs/first-test.md docs/own-tools.md docs/describe-a-board.md
        docs/through-the-broker.md docs/reading-the-logs.md)
  cmake_path(GET page STEM name)
  install_test(guide_${name}
    COMMAND ${guide} ${PROJECT_SOURCE_DIR}/${page} ${work}/${name}
    PROPERTIES FIXTURES_REQUIRED moved ENVIRONMENT SOURCE=${PROJECT_SOURCE_DIR} ENVIRONMENT_MODIFICATION
      "PATH=path_list_prepend:${work}/readme/moved/bin;PKG_CONFIG_PATH=set:${work}/readme/moved/lib/pkgconfig")
endforeach()

install_test(install_package
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/install/package.sh ${work}/readme/moved
          ${work}/readme/home/board_tests/read_eeprom.c ${work}/package boarddiag
  PROPERTIES FIXTURES_REQUIRED moved)

install_test(install_source BUILDS_ONLY
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/install/source.sh ${PROJECT_SOURCE_DIR} ${work}/source)
install_test(install_packages
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/install/deb.sh ${PROJECT_BINARY_DIR} ${work}/deb
          ${PROJECT_SOURCE_DIR}/docs/first-test.md)
# As FetchContent makes it when nothing is said: an archive, and nothing to install.
install_test(install_fetched BUILDS_ONLY
  COMMAND ${CMAKE_CTEST_COMMAND} --build-and-test ${CMAKE_CURRENT_SOURCE_DIR}/install/fetch ${work}/fetched
          --build-generator ${CMAKE_GENERATOR} --build-noclean --build-options -DBOARDDIAG_SOURCE=${PROJECT_SOURCE_DIR}
          --test-command sh -c "cd _deps/boarddiag-build && test -e libboarddiag.a && ! grep libboarddiag cmake_install.cmake")
install_test(install_shared BUILDS_ONLY
  COMMAND ${CMAKE_CTEST_COMMAND} --build-and-test ${CMAKE_CURRENT_SOURCE_DIR}/install/fetch ${work}/shared
          --build-generator ${CMAKE_GENERATOR} --build-noclean --build-options -DBOARDDIAG_SOURCE=${PROJECT_SOURCE_DIR}
          -DBUILD_SHARED_LIBS=ON -DBOARDDIAG_INSTALL=ON
          --test-command ${CMAKE_CURRENT_SOURCE_DIR}/install/shared.sh ${PROJECT_SOURCE_DIR})
