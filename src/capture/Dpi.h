// The DPI scale of windows and monitors, by calls that older systems lack.
//
// Threading: callable from any thread.
#pragma once

#include <windows.h>

namespace quillmark {

// Desktop pixels per logical pixel of a window on a monitor: above 1 where the system stretches the window
// because it is not aware of the monitor's dpi, 1.0 when it is or when nothing is known.
[[nodiscard]] double GetDpiScale(HWND window, HMONITOR monitor);

// The monitor's effective dpi, 96 when it cannot be known.
[[nodiscard]] UINT GetMonitorDpi(HMONITOR monitor);

}  // namespace quillmark
