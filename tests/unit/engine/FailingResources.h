// Makes the test program run out of threads or memory on demand.
//
// Threading: FailNthThread counts the threads that any thread starts, FailNthAllocation the caller's
// allocations.
#pragma once

namespace quillmark::test {

// The n-th thread started from now on fails, n from 1; 0 for none.
void FailNthThread(int n);

// The n-th operator new from now on raises std::bad_alloc, n from 1; 0 for none. Returns how many calls the
// last request still had to wait: 0 when it has failed.
int FailNthAllocation(int n);

}  // namespace quillmark::test
