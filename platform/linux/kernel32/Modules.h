// Test hook of the module calls: lets an entry be missing, as on an older system.
//
// Threading: any thread.
#pragma once

namespace quillmark::layer {

// GetProcAddress finds this entry no more. The library's name is compared without regard to case.
void HideEntry(const char* library, const char* entry);
// Ends all hiding.
void ShowAllEntries();

}  // namespace quillmark::layer
