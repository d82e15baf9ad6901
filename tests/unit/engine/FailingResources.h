// Lets the resources of the test program itself run out on demand, as on an exhausted system: a thread that
// cannot be started, memory that cannot be had.
//
// Threading: FailNthThread counts the threads that any thread starts; FailNthAllocation those of its caller.
#pragma once

namespace quillmark::test {

// The n-th thread started from now on fails, n from 1; with 0 none does.
void FailNthThread(int n);

// The n-th allocation by operator new from now on raises std::bad_alloc, n from 1; with 0 none does. Returns
// how many were still to come before the one asked for last: 0 when it failed.
int FailNthAllocation(int n);

}  // namespace quillmark::test
