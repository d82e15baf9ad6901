// A window of the system. Answers are fetched when first needed and then kept: one list of windows serves
// many specs. If a call fails, the answer is that of a window that cannot be a target.
//
// Threading: callable from any thread, one at a time for each object.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "capture/Dpi.h"
#include "specs/TemplateSpec.h"

namespace quillmark {

class SystemWindow {
 public:
  explicit SystemWindow(HWND handle) : window(handle) {}

  [[nodiscard]] HWND Handle() const { return window; }
  [[nodiscard]] bool Exists() const { return ::IsWindow(window); }
  [[nodiscard]] bool Visible() const { return ::IsWindowVisible(window); }
  [[nodiscard]] bool Minimised() const { return ::IsIconic(window); }
  // Top-level, visible and not minimised.
  [[nodiscard]] bool Shown();
  // File name of its program; empty if it cannot be read.
  [[nodiscard]] std::wstring_view ImageFile();
  // At most 511 units.
  [[nodiscard]] std::wstring_view Title();
  // With its frame, in desktop pixels.
  [[nodiscard]] bool OuterRect(Rect& rect);
  // In desktop pixels, perhaps empty; none if it cannot be measured. This answer and the next are not kept.
  [[nodiscard]] std::optional<Rect> ClientArea() const;
  // The nearest monitor; null if there is none.
  [[nodiscard]] HMONITOR Monitor() const { return ::MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST); }
  [[nodiscard]] double Scale(HMONITOR monitor) const { return GetDpiScale(window, monitor); }

 private:
  HWND window;
  std::optional<bool> shown;
  std::optional<std::wstring> imageFile, title;
  std::optional<Rect> outer;
};

// All top-level windows, topmost first.
[[nodiscard]] std::vector<SystemWindow> ListWindows();

}  // namespace quillmark
