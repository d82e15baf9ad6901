// The DPI scale of windows and monitors, by calls that older systems lack.
//
// Threading: callable from any thread.
#pragma once

#include <windows.h>

namespace quillmark {

// Desktop pixels per logical pixel of a window on a monitor: not 1.0 where the system stretches a window that
// is not aware of the monitor's dpi; 1.0 for other windows and if nothing is known.
[[nodiscard]] double GetDpiScale(HWND window, HMONITOR monitor);

// The monitor's effective dpi, or 96 if it is unknown.
[[nodiscard]] UINT GetMonitorDpi(HMONITOR monitor);

}  // namespace quillmark
