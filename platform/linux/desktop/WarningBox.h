// A warning box on the X server: a small window with a text and an OK button, above all others.
//
// Threading: callable from any thread; blocks until the user closes the box.
#pragma once

#include <string>

namespace quillmark::layer {

// Texts are in UTF-16 units; `fallback` is shown if no font has all characters of `text`. OK, Return, Space,
// Escape and the window manager close it. False if nothing was shown (no server, no font, or a pixel format
// other than 32-bit BGRX), or if the connection was lost while the box was open.
bool ShowWarningBox(const std::wstring& caption, const std::wstring& text, const std::wstring& fallback);

}  // namespace quillmark::layer
