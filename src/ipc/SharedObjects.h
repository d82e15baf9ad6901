// Opens or creates the named objects under the rings, and says which call failed and why.
//
// Threading: free functions without state.
#pragma once

#include <windows.h>

#include <cstdint>

#include "platform/UniqueHandle.h"

namespace quillmark {

// What was obtained stays owned even when a later step failed.
struct SharedSection {
  UniqueHandle mapping;
  UniqueView view;                   // null unless the whole layout lies inside it
  const char* failedCall = nullptr;  // null on success
  DWORD error = ERROR_SUCCESS;
};

// The section of that name with at least `size` bytes. One that exists and is smaller is refused as a view
// that cannot be mapped, with ERROR_BAD_LENGTH.
[[nodiscard]] SharedSection OpenSharedSection(const wchar_t* name, std::uint32_t size);

struct SharedEvent {
  UniqueHandle event;
  bool existed = false;  // someone else holds it already
  DWORD error = ERROR_SUCCESS;
};

// The auto-reset event of that name, not signalled when new.
[[nodiscard]] SharedEvent OpenSharedEvent(const wchar_t* name);

}  // namespace quillmark
