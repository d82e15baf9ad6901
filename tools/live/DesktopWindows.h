// The desktop's top-level windows, and how much of an area of one is visible.
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
  std::wstring program;  // its file name; empty if unknown
  Rect outer;            // desktop pixels, frame included
  bool visible = false;
  bool minimised = false;

  // The interface that ChooseTarget needs.
  [[nodiscard]] bool Shown() const { return visible && !minimised; }
  [[nodiscard]] std::wstring_view ImageFile() const { return program; }
  [[nodiscard]] std::wstring_view Title() const { return title; }
};

// The windows that can be measured, including hidden and minimised ones.
[[nodiscard]] std::vector<DesktopWindow> Describe(std::vector<SystemWindow>& listed);

struct Exposure {
  // Shares of the area, between 0 and 1, that add up to 1.
  double visible = 0.0, covered = 0.0, offScreen = 0.0;
  std::vector<const DesktopWindow*> covers;  // the windows above it, topmost first
};

// How much of an area (desktop pixels, not empty) of one of the windows is visible on the screens.
[[nodiscard]] Exposure ExposureOf(const Rect& area, HWND window, const std::vector<DesktopWindow>& windows,
                                  const std::vector<Rect>& screens);

}  // namespace quillmark::live
