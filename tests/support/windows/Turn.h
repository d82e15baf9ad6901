// The right to be the only test that uses what a session has once: the product's named objects, the desktop,
// the debugger output. A test waits for its turn; one thread may take several at a time.
//
// Threading: given back on the thread that took it.
#pragma once

#include <stdexcept>

#include "platform/UniqueHandle.h"

namespace quillmark::test {

class Turn {
 public:
  // Throws std::runtime_error on failure.
  Turn() {
    const DWORD result = mutex ? ::WaitForSingleObject(mutex.Get(), INFINITE) : WAIT_FAILED;
    // Abandoned: a test was killed while it had its turn.
    if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) throw std::runtime_error("no turn");
  }
  ~Turn() { ::ReleaseMutex(mutex.Get()); }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  const UniqueHandle mutex{::CreateMutexW(nullptr, FALSE, L"Local\\QuillmarkTestTurn")};
};

}  // namespace quillmark::test
