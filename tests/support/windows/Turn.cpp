#include "support/windows/Turn.h"

#include <stdexcept>

namespace quillmark::test {

Turn::Turn() : mutex(::CreateMutexW(nullptr, FALSE, L"Local\\QuillmarkTestTurn")) {
  const DWORD result = mutex ? ::WaitForSingleObject(mutex.Get(), INFINITE) : WAIT_FAILED;
  // Abandoned: a test that was killed had it, and the session has been rid of it since.
  if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED) throw std::runtime_error("no turn in the session");
}

}  // namespace quillmark::test
