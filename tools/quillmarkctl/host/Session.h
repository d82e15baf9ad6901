// What only this host can tell about the session that worker and tool share: one implementation a host.
//
// Threading: free functions without state.
#pragma once

#include <windows.h>

#include "Finding.h"

namespace quillmark::control::host {

// Session, rights, limits, display server, fonts.
[[nodiscard]] Findings ExamineSession();

// Whether the system counts the window as visible but does not show it.
[[nodiscard]] bool IsCloaked(HWND window);

}  // namespace quillmark::control::host
