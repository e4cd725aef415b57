/* SPDX-License-Identifier: MIT */
// Lets an allocation of the library fail; programs that use it are linked with --wrap for each allocator
// call.
#ifndef TESTS_BUSBROKER_FAILING_ALLOC_H
#define TESTS_BUSBROKER_FAILING_ALLOC_H

namespace diagtest {

/// The nth allocation of this thread from now on fails; 0 switches it off.
void fail_allocation(int nth);

} // namespace diagtest

#endif
