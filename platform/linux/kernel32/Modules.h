// Test hook of the module calls: lets a library or one of its entries be missing, as on an older system.
//
// Threading: any thread.
#pragma once

namespace quillmark::layer {

// GetProcAddress finds this entry no more. The library's name is compared without regard to case.
void HideEntry(const char* library, const char* entry);
// GetModuleHandleW and LoadLibraryW find this library no more; handles that are out stay good.
void HideLibrary(const char* library);
// Ends all hiding.
void ShowAllEntries();

}  // namespace quillmark::layer
