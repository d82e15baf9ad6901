// The desktop's monitors, numbered as the worker does.
//
// Threading: free functions without state.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "specs/TemplateSpec.h"

namespace quillmark::live {

struct DesktopMonitor {
  HMONITOR handle = nullptr;
  int number = 0;  // from 1, as in mon=N
  Rect rect;       // desktop pixels
  bool primary = false;
  std::uint32_t dpi = 96;
  int turn = 0;         // degrees clockwise from the delivered picture to the desktop
  std::wstring device;  // the system's name

  [[nodiscard]] int Width() const { return rect.right - rect.left; }
  [[nodiscard]] int Height() const { return rect.bottom - rect.top; }
};

[[nodiscard]] std::vector<DesktopMonitor> ListDesktopMonitors();

}  // namespace quillmark::live
