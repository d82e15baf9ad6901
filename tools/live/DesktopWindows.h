// The top-level windows of the desktop, and how much of one is to be seen.
//
// Threading: free functions without state.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>
#include <vector>

#include "capture/SystemWindow.h"
#include "specs/TemplateSpec.h"

namespace quillmark::live {

struct DesktopWindow {
  HWND handle = nullptr;
  std::wstring title;
  std::wstring program;  // its file name; empty when it cannot be known
  Rect outer;            // desktop pixels, frame included
  bool visible = false;
  bool minimised = false;

  // What the rule for targets asks.
  [[nodiscard]] bool Shown() const { return visible && !minimised; }
  [[nodiscard]] std::wstring_view ImageFile() const { return program; }
  [[nodiscard]] std::wstring_view Title() const { return title; }
};

// Of a list, those that can be measured; hidden and minimised ones included.
[[nodiscard]] std::vector<DesktopWindow> Describe(std::vector<SystemWindow>& listed);

struct Exposure {
  // Shares of the area, between 0 and 1, that add up to 1.
  double visible = 0.0, covered = 0.0, offScreen = 0.0;
  std::vector<const DesktopWindow*> covers;  // the windows that lie over it, topmost first
};

// How much of an area, in desktop pixels, of one of the windows is to be seen on the screens. `area` is not
// empty.
[[nodiscard]] Exposure ExposureOf(const Rect& area, HWND window, const std::vector<DesktopWindow>& windows,
                                  const std::vector<Rect>& screens);

}  // namespace quillmark::live
