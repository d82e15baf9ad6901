// A window as the system answers for it: each answer is asked for when it is wanted. A failing call gives the
// answer of a window that cannot be chosen as a target.
//
// Threading: callable from any thread, one at a time for each object.
#pragma once

#include <windows.h>

#include <string_view>

#include "specs/TemplateSpec.h"

namespace quillmark {

class SystemWindow {
 public:
  explicit SystemWindow(HWND handle) : window(handle) {}

  // Top-level, visible and not minimised.
  [[nodiscard]] bool Shown() const;
  // File name of its program; empty when that cannot be read. Valid until the next text is asked for.
  [[nodiscard]] std::wstring_view ImageFile();
  // At most 511 units; valid until the next text is asked for.
  [[nodiscard]] std::wstring_view Title();
  // With its frame, in desktop pixels.
  [[nodiscard]] bool OuterRect(Rect& rect) const;
  // In desktop pixels; false when it cannot be measured or is empty.
  [[nodiscard]] bool ClientArea(Rect& area) const;

 private:
  HWND window;
  wchar_t text[512];  // the one asked for last
};

}  // namespace quillmark
