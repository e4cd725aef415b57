/* SPDX-License-Identifier: MIT */
// Where the checks of the C++ standard library's own code end, in a build that asks for them with
// -D_GLIBCXX_ASSERTIONS. They call a function of the C++ run-time library, which a C program does not have;
// the build renames it (CMakeLists.txt), so that they call this one. A C++ program that is built with them
// keeps its own.
#include <cstdio>
#include <cstdlib>

#ifdef _GLIBCXX_ASSERTIONS
namespace std {

void boarddiag_assert_fail(const char *file, int line, const char *function, const char *condition) noexcept
{
    fprintf(stderr, "%s:%d: %s: Assertion '%s' failed.\n", file, line, function, condition);
    abort();
}

} // namespace std
#endif
