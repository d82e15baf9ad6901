// The libraries that a program can load, and a test hook that hides entries, as if the system were older.
//
// Threading: any thread.
#pragma once

#include <windows.h>

#include <span>
#include <string>
#include <vector>

namespace quillmark::layer {

struct Entry {
  const char* name;
  FARPROC address;
};
struct Library {
  const char* name;  // lower case
  std::span<const Entry> entries;
};

// Implemented by user32, since they contain its DPI calls.
std::span<const Library> Libraries();

// GetProcAddress finds every entry but these.
void HideEntries(std::vector<std::string> entries);

}  // namespace quillmark::layer
