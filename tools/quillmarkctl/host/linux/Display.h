// What can be said about the X server that DISPLAY names, about Wayland beside it, and about fonts.
//
// Threading: free functions without state.
#pragma once

#include "doctor/Finding.h"

namespace quillmark::control::host {

[[nodiscard]] Findings ExamineDisplay();
[[nodiscard]] Finding ExamineFonts();

}  // namespace quillmark::control::host
