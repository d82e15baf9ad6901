// The calling thread's last error, and the platform's codes for the host's errors.
//
// Threading: any thread; each has its own last error.
#pragma once

#include <windows.h>

namespace quillmark::layer {

// The platform's code for a host error number; ERROR_GEN_FAILURE if there is none.
DWORD ErrorFromErrno(int error);

// Sets the last error and returns the result, so that a failure is one statement.
template <typename Result>
Result Fail(DWORD code, Result result) {
  ::SetLastError(code);
  return result;
}

// The same for a success with a code, such as ERROR_ALREADY_EXISTS.
template <typename Result>
Result Succeed(DWORD code, Result result) {
  ::SetLastError(code);
  return result;
}

}  // namespace quillmark::layer
