# SPDX-License-Identifier: MIT
# The strict warning set that every source of the project compiles with, and the sanitizers of a build.
add_library(boarddiag_warnings INTERFACE)
target_compile_options(boarddiag_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wcast-qual -Wcast-align
  -Wundef -Wvla -Wdouble-promotion -Wnull-dereference
  # Message and command templates that differ between near-identical functions are data.
  -Wformat=2 -Wno-format-nonliteral
  # On 32-bit Arm, notes about the binary interface of compilers before GCC 7.1.
  -Wno-psabi
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
  $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>)

if(BOARDDIAG_SANITIZE)
  # GCC's flow analysis sees ghosts in instrumented code; the other builds keep warnings out.
  target_compile_options(boarddiag_warnings INTERFACE -Wno-error)
  add_compile_options(-fsanitize=${BOARDDIAG_SANITIZE} -fno-sanitize-recover=all
                      # The library has no classes to check, and the check needs a descriptor to work.
                      -fno-sanitize=vptr -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${BOARDDIAG_SANITIZE})
endif()

if(BOARDDIAG_BUILD_FUZZ)
  # The library tells the fuzzer which way each input took.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
