// Checks of the X server that DISPLAY names, of Wayland and of fonts.
//
// Threading: free functions without state.
#pragma once

#include "host/Check.h"

namespace quillmark::control::host {

[[nodiscard]] Checks ExamineDisplay();
[[nodiscard]] Check ExamineFonts();

}  // namespace quillmark::control::host
