// A warning box on the X server: a small window of our own with a text and an OK button, above all others.
//
// Threading: callable from any thread; it has a connection of its own and blocks until the user has closed
// it.
#pragma once

#include <string>

namespace quillmark::layer {

// Texts in UTF-16 units; `fallback` is shown where no font has all characters of `text`. Closed by OK,
// Return, Space, Escape or the window manager. False when nothing was shown: no server, no font, or a screen
// of another pixel format than 32-bit BGRX; also when the server went while the box was open.
bool ShowWarningBox(const std::wstring& caption, const std::wstring& text, const std::wstring& fallback);

}  // namespace quillmark::layer
