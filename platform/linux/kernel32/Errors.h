// The calling thread's last error, and how the host's error numbers read in the platform's codes.
//
// Threading: any thread; each has a last error of its own.
#pragma once

#include <windows.h>

namespace quillmark::layer {

// The platform's code for a host error number; ERROR_GEN_FAILURE for one that has no counterpart.
DWORD ErrorFromErrno(int error);

// Sets the last error and hands the failing result back, so that a failure is one statement.
template <typename Result>
Result Fail(DWORD code, Result result) {
  ::SetLastError(code);
  return result;
}

// The same for a call whose success tells more, such as ERROR_ALREADY_EXISTS.
template <typename Result>
Result Succeed(DWORD code, Result result) {
  ::SetLastError(code);
  return result;
}

}  // namespace quillmark::layer
