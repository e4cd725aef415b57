# SPDX-License-Identifier: MIT
# Whether a failing call, tool, broker or neighbour can harm a program: told, bounded, and gone with its cause.
diag_test(failing_test trust/failing_test.cpp)
foreach(function IN ITEMS malloc calloc realloc
        mkfifo open64 fstat64 read poll pipe2 fork waitpid socket bind connect getsockopt sendto
        recvfrom sigaction sigprocmask timer_create timer_settime clock_nanosleep pthread_create
        posix_spawnattr_init posix_spawn_file_actions_init posix_spawn_file_actions_adddup2
        posix_spawn_file_actions_addopen posix_spawn posix_spawnp)
  target_link_options(failing_test PRIVATE LINKER:--wrap=${function})
endforeach()
diag_test(world_test trust/world_test.cpp)
target_compile_definitions(world_test PRIVATE EMULATED=$<BOOL:${CMAKE_CROSSCOMPILING}>)
diag_test(broker_world_test trust/broker_test.cpp)
diag_test(neighbour_test trust/neighbour_test.cpp)
target_link_options(neighbour_test PRIVATE LINKER:--wrap=open64)
