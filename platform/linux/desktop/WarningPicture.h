// The picture of a warning box: a warning sign, the text, an OK button. FreeType draws it in the system's
// best font that has every character.
//
// Threading: callable from any thread.
#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quillmark::layer {

struct WarningPicture {
  std::uint16_t width = 0;
  std::uint16_t height = 0;
  std::vector<std::uint32_t> pixels;  // 0x00RRGGBB, rows top-down
  RECT button{};                      // of OK, picture pixels

  bool Hits(int x, int y) const {
    return x >= button.left && x < button.right && y >= button.top && y < button.bottom;
  }
};

// The text is in UTF-16 units; lines break at '\n' and where they get too wide. `fallback` is drawn instead
// if no font has all characters of the text. Nothing if there is no font at all. `dpi` scales everything.
std::optional<WarningPicture> DrawWarning(const std::wstring& text, const std::wstring& fallback,
                                          std::uint32_t dpi);

// Whether some font has every character of the text.
bool HasFontFor(const std::wstring& text);

}  // namespace quillmark::layer
