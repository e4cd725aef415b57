# SPDX-License-Identifier: MIT
# What `cmake --install` and cpack put where: the library with its headers, CMake package, pkg-config module,
# documents and examples (component "dev"), and the simulated board (component "sim").
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/boarddiag)
set(simulator_dir ${CMAKE_INSTALL_LIBEXECDIR}/boarddiag)

install(TARGETS boarddiag EXPORT boarddiag
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)

install(EXPORT boarddiag NAMESPACE boarddiag:: FILE boarddiagTargets.cmake
  DESTINATION ${package_dir} COMPONENT dev)
configure_package_config_file(cmake/boarddiagConfig.cmake.in ${PROJECT_BINARY_DIR}/boarddiagConfig.cmake
  INSTALL_DESTINATION ${package_dir} PATH_VARS simulator_dir)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/boarddiagConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/boarddiagConfig.cmake ${PROJECT_BINARY_DIR}/boarddiagConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT dev)

# The module finds itself, so that the whole tree may be moved.
file(RELATIVE_PATH prefix_from_module ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" prefix_from_module ${prefix_from_module})
configure_file(cmake/boarddiag.pc.in ${PROJECT_BINARY_DIR}/boarddiag.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/boarddiag.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

# What stays in the source tree is named in the installed documents without a link.
set(source_only "(\\.\\./)*(access|busbroker|core|devtree|fpga|include|tests|timer)/")
file(GLOB pages RELATIVE ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS *.md docs/*.md)
list(FILTER pages EXCLUDE REGEX "\\.[0-9]\\.md$")
file(REMOVE_RECURSE ${PROJECT_BINARY_DIR}/pages)
foreach(page IN LISTS pages)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${page})
  file(READ ${page} text)
  string(REGEX REPLACE "\\[([^]\n]+)\\]\\(${source_only}[^)]*\\)" "\\1" text "${text}")
  file(WRITE ${PROJECT_BINARY_DIR}/pages/${page} "${text}")
endforeach()
install(DIRECTORY ${PROJECT_BINARY_DIR}/pages/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)
install(FILES docs/speed.svg DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT dev)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev
  FILES_MATCHING PATTERN *.c PATTERN *.cpp PATTERN *.h)
# There once scripts/docs has made them.
install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/html DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev OPTIONAL)
install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/man/man3 ${PROJECT_BINARY_DIR}/docs/man/man7
  DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT dev OPTIONAL)

if(BOARDDIAG_BUILD_SIM)
  # The tools stay out of the folder of everybody's programs: a board's own tools have the same names.
  install(TARGETS boardsim DESTINATION ${simulator_dir} COMPONENT sim)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/sim/bin/ DESTINATION ${simulator_dir} COMPONENT sim
    PATTERN boardsim EXCLUDE)
  file(RELATIVE_PATH simulator_from_bin ${CMAKE_INSTALL_FULL_BINDIR}
    ${CMAKE_INSTALL_PREFIX}/${simulator_dir}/boardsim)
  file(CREATE_LINK ${simulator_from_bin} ${PROJECT_BINARY_DIR}/boardsim SYMBOLIC)
  install(FILES ${PROJECT_BINARY_DIR}/boardsim DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT sim)
  install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/man/man1 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT sim
    OPTIONAL)
endif()

if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
# Where Debian looks for the licence of a package; installations of another kind do not have it there.
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libboarddiag-dev RENAME copyright
  COMPONENT dev_copyright EXCLUDE_FROM_ALL)
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/boarddiag-sim RENAME copyright
  COMPONENT sim_copyright EXCLUDE_FROM_ALL)
foreach(component IN ITEMS DEV SIM)
  set(CPACK_COMPONENT_${component}_GROUP ${component})
  set(CPACK_COMPONENT_${component}_COPYRIGHT_GROUP ${component})
endforeach()
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "The boarddiag authors <boarddiag@localhost>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL dev dev_copyright sim sim_copyright)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libboarddiag-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "zlib1g-dev, libxml2-dev")
set(CPACK_DEBIAN_DEV_PACKAGE_SUGGESTS boarddiag-sim)
set(CPACK_COMPONENT_GROUP_DEV_DESCRIPTION "Library, headers, CMake package, pkg-config module and documents")
set(CPACK_DEBIAN_SIM_PACKAGE_NAME boarddiag-sim)
set(CPACK_DEBIAN_SIM_PACKAGE_SECTION utils)
set(CPACK_COMPONENT_GROUP_SIM_DESCRIPTION "The simulated board: its tools and its bus broker")
include(CPack)
