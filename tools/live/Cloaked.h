// Windows that the system hides though it counts them as visible: one implementation a host.
//
// Threading: free function without state.
#pragma once

#include <windows.h>

namespace quillmark::live {

[[nodiscard]] bool IsCloaked(HWND window);

}  // namespace quillmark::live
