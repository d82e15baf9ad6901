// Windows that the system hides although it reports them as visible; one implementation per host.
//
// Threading: free function without state.
#pragma once

#include <windows.h>

namespace quillmark::live {

[[nodiscard]] bool IsCloaked(HWND window);

}  // namespace quillmark::live
