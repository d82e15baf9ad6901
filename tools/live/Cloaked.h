// Windows that the system hides although it calls them visible; one implementation per host.
//
// Threading: free function without state.
#pragma once

#include <windows.h>

namespace quillmark::live {

[[nodiscard]] bool IsCloaked(HWND window);

}  // namespace quillmark::live
