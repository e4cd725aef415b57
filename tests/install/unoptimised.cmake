# SPDX-License-Identifier: MIT
# A toolchain file of this machine's own compilers that takes the optimiser out of the presets' build types: where it is
# seen that everything builds, is found and installs, most of the time would go into it.
foreach(language IN ITEMS C CXX)
  set(CMAKE_${language}_FLAGS_RELEASE "" CACHE STRING "")
  set(CMAKE_${language}_FLAGS_RELWITHDEBINFO "" CACHE STRING "")
endforeach()
