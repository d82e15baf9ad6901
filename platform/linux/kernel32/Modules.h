// The libraries that a program can load, and a test hook that lets an entry be missing, as on an older
// system.
//
// Threading: any thread.
#pragma once

#include <windows.h>

#include <span>

namespace quillmark::layer {

struct Entry {
  const char* name;
  FARPROC address;
};
struct Library {
  const char* name;  // lower case
  std::span<const Entry> entries;
};

// Implemented by user32, which has them.
std::span<const Library> Libraries();

// GetProcAddress no longer finds this entry. The library's name is compared without regard to case.
void HideEntry(const char* library, const char* entry);
// Ends all hiding.
void ShowAllEntries();

}  // namespace quillmark::layer
