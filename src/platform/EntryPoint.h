// Calls that older systems lack, found by name at run time.
//
// Threading: any thread.
#pragma once

#include <windows.h>

namespace quillmark {

// Null if the library or the entry is missing.
template <typename Function>
Function EntryPoint(HMODULE library, LPCSTR name) {
  if (library == nullptr) return nullptr;
  // Through void*, as the entry's type is known only here.
  return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(library, name)));
}

}  // namespace quillmark
