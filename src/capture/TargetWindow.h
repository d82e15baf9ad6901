// Finds a spec's target window and measures its client area, monitor and DPI scale. A failing system call
// leaves the target not valid, or skips the window or monitor it was made for; nothing is raised or logged.
//
// Threading: callable from any thread; each call touches only what it is given.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "specs/TemplateSpec.h"

namespace quillmark {

struct MonitorEntry {
  HMONITOR monitor = nullptr;
  RECT rcMonitor{};  // full rectangle, desktop pixels
};

// The largest window meant by the text that is visible and not minimised, among equal areas the topmost; null
// when there is none.
[[nodiscard]] HWND FindTargetWindow(const std::wstring& target);

// Whether the text means the window, be it shown or not.
[[nodiscard]] bool TargetMeans(const std::wstring& target, HWND window);

// Refreshes the spec's target fields; targetValid tells whether the target is usable now. A window that the
// spec brings along is kept as long as it exists, else the window is searched for: the worker's copies of the
// store bring none, so it searches in every tick.
void UpdateTargetWindow(TemplateSpec& spec);

// Callback of EnumDisplayMonitors; `list` is a std::vector<MonitorEntry>*.
BOOL CALLBACK CollectMonitors(HMONITOR monitor, HDC dc, RECT* rect, LPARAM list);

// Desktop pixels per logical pixel of a window on a monitor: above 1 where the system stretches the window
// because it is not aware of the monitor's dpi, 1.0 when it is or when nothing is known.
double GetDpiScale(HWND window, HMONITOR monitor);

}  // namespace quillmark
