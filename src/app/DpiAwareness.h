// Makes the process per-monitor DPI-aware by the best call that the system has.
#pragma once

namespace quillmark {

// Tries the calls from the newest to the oldest; the first that exists decides, whatever it returns.
// Threading: once, on the main thread, before any window is made.
void EnableDpiAwareness();

}  // namespace quillmark
