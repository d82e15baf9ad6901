// A window as the system answers for it: each answer is asked for when it is wanted, and kept, so that one
// list of windows serves many specs. A failing call gives the answer of a window that cannot be chosen as a
// target.
//
// Threading: callable from any thread, one at a time for each object.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "specs/TemplateSpec.h"

namespace quillmark {

class SystemWindow {
 public:
  explicit SystemWindow(HWND handle) : window(handle) {}

  [[nodiscard]] HWND Handle() const { return window; }
  [[nodiscard]] bool Exists() const;
  [[nodiscard]] bool Visible() const;
  [[nodiscard]] bool Minimised() const;
  // Top-level, visible and not minimised.
  [[nodiscard]] bool Shown();
  // File name of its program; empty when that cannot be read.
  [[nodiscard]] std::wstring_view ImageFile();
  // At most 511 units.
  [[nodiscard]] std::wstring_view Title();
  // With its frame, in desktop pixels.
  [[nodiscard]] bool OuterRect(Rect& rect);
  // In desktop pixels, perhaps empty; none when it cannot be measured. Asked anew each time, as what follows.
  [[nodiscard]] std::optional<Rect> ClientArea() const;
  // The nearest one; null when there is none.
  [[nodiscard]] HMONITOR Monitor() const;
  [[nodiscard]] double Scale(HMONITOR monitor) const;

 private:
  HWND window;
  std::optional<bool> shown;
  std::optional<std::wstring> imageFile, title;
  std::optional<Rect> outer;
};

// All top-level windows, topmost first.
[[nodiscard]] std::vector<SystemWindow> ListWindows();

}  // namespace quillmark
