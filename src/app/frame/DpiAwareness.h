// Makes the process per-monitor DPI-aware with the newest call that the system has.
#pragma once

namespace quillmark {

// Makes the first call that exists, from the newest to the oldest, and no other, whatever it returns.
// Threading: once, on the main thread, before any window is made.
void EnableDpiAwareness();

}  // namespace quillmark
