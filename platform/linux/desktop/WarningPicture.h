// The picture of a warning box: a warning sign, the text, an OK button. Drawn with FreeType in the first font
// of the system's choice that has every character.
//
// Threading: callable from any thread, each call on its own.
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
  RECT button{};                      // where OK is, picture pixels

  bool Hits(int x, int y) const {
    return x >= button.left && x < button.right && y >= button.top && y < button.bottom;
  }
};

// The text in UTF-16 units, its lines broken at '\n' and where they would grow too wide. `fallback` is drawn
// instead where no font has all of the text's characters. Nothing when there is no font at all. `dpi` scales
// everything.
std::optional<WarningPicture> DrawWarning(const std::wstring& text, const std::wstring& fallback,
                                          std::uint32_t dpi);

// Whether a font of the system has every character of the text, so that it is drawn and not the fallback.
bool HasFontFor(const std::wstring& text);

}  // namespace quillmark::layer
