// The process's handles. Their numbers are never reused, so a closed or invented handle is always recognised.
// An object lives as long as a handle or a running call refers to it.
//
// Threading: every function may be called from any thread; objects guard their own state.
#pragma once

#include <windows.h>

#include <memory>
#include <utility>

#include "kernel32/Errors.h"

namespace quillmark::layer {

class KernelObject {
 public:
  KernelObject() = default;
  KernelObject(const KernelObject&) = delete;
  KernelObject& operator=(const KernelObject&) = delete;
  virtual ~KernelObject() = default;

  // As WaitForSingleObject. By default an object cannot be waited for.
  virtual DWORD Wait(DWORD timeoutMs);
};

HANDLE InsertHandle(std::shared_ptr<KernelObject> object);

// The object of a handle; null, with ERROR_INVALID_HANDLE, if there is none.
std::shared_ptr<KernelObject> FindHandle(HANDLE handle);

// The same for an object of this type only.
template <typename Object>
std::shared_ptr<Object> FindHandleAs(HANDLE handle) {
  auto object = std::dynamic_pointer_cast<Object>(FindHandle(handle));
  if (!object) ::SetLastError(ERROR_INVALID_HANDLE);
  return object;
}

}  // namespace quillmark::layer
