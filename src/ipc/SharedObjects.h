// Opens or creates the rings' named objects, and says which call failed and why.
//
// Threading: no shared state, callable from any thread.
#pragma once

#include <windows.h>

#include <cstdint>

#include "platform/UniqueHandle.h"

namespace quillmark {

// Owns what was opened, even when a later step failed.
struct SharedSection {
  UniqueHandle mapping;
  UniqueView view;                   // null unless the whole layout fits
  const char* failedCall = nullptr;  // null on success
  DWORD error = ERROR_SUCCESS;
};

// The section of that name with at least `size` bytes. A smaller one is refused as MapViewOfFile failing with
// ERROR_BAD_LENGTH.
[[nodiscard]] SharedSection OpenSharedSection(const wchar_t* name, std::uint32_t size);

struct SharedEvent {
  UniqueHandle event;
  bool existed = false;  // before the call
  DWORD error = ERROR_SUCCESS;
};

// The auto-reset event of that name, not signalled when new.
[[nodiscard]] SharedEvent OpenSharedEvent(const wchar_t* name);

}  // namespace quillmark
