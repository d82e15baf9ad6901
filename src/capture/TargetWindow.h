// Finds a spec's target window and measures its client area, monitor and DPI scale.
//
// Threading: callable from any thread; each call touches only the spec it is given.
#pragma once

#include <windows.h>

#include <vector>

#include "specs/TemplateSpec.h"

namespace quillmark {

struct MonitorEntry {
  HMONITOR monitor = nullptr;
  RECT rcMonitor{};  // full rectangle, desktop pixels
};

// Refreshes the spec's target fields; targetValid tells whether the target is usable now.
void UpdateTargetWindow(TemplateSpec& spec);

// Callback of EnumDisplayMonitors; `list` is a std::vector<MonitorEntry>*.
BOOL CALLBACK CollectMonitors(HMONITOR monitor, HDC dc, RECT* rect, LPARAM list);

// Desktop pixels per logical pixel of a window on a monitor, 1.0 when unknown.
double GetDpiScale(HWND window, HMONITOR monitor);

}  // namespace quillmark
