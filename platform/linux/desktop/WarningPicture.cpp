#include "desktop/WarningPicture.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>

#include "host/Text.h"

namespace quillmark::layer {
namespace {

// Sizes at 96 dpi.
constexpr int kTextSize = 15;
constexpr int kMargin = 22;
constexpr int kSign = 40;
constexpr int kMaxLine = 420;
constexpr int kButtonWidth = 92;
constexpr int kButtonHeight = 30;
constexpr int kMinText = 150;

constexpr std::uint32_t kPaper = 0xFFFFFF;
constexpr std::uint32_t kInk = 0x1A1A1A;
constexpr std::uint32_t kFooter = 0xF0F0F0;
constexpr std::uint32_t kLine = 0xD9D9D9;
constexpr std::uint32_t kButton = 0xFDFDFD;
constexpr std::uint32_t kButtonEdge = 0x2F6FB5;
constexpr std::uint32_t kSignFill = 0xFFC42E;
constexpr std::uint32_t kSignInk = 0x2B2100;

struct FontFile {
  std::string path;
  int index = 0;
};

bool Covers(const FcPattern* font, const std::u32string& text) {
  FcCharSet* set = nullptr;
  if (FcPatternGetCharSet(font, FC_CHARSET, 0, &set) != FcResultMatch) return false;
  return std::ranges::all_of(text, [&](char32_t c) { return c < 0x20 || FcCharSetHasChar(set, c); });
}

// The system's best sans-serif font that has every character of the text.
std::optional<FontFile> FindFont(const std::u32string& text) {
  const std::unique_ptr<FcConfig, decltype(&FcConfigDestroy)> config(FcInitLoadConfigAndFonts(),
                                                                     FcConfigDestroy);
  if (!config) return std::nullopt;
  const std::unique_ptr<FcPattern, decltype(&FcPatternDestroy)> wanted(
      FcNameParse(reinterpret_cast<const FcChar8*>("sans-serif:lang=ko:scalable=true")), FcPatternDestroy);
  FcConfigSubstitute(config.get(), wanted.get(), FcMatchPattern);
  FcDefaultSubstitute(wanted.get());
  FcResult result = FcResultNoMatch;
  const std::unique_ptr<FcFontSet, decltype(&FcFontSetDestroy)> fonts(
      FcFontSort(config.get(), wanted.get(), FcFalse, nullptr, &result), FcFontSetDestroy);
  for (int i = 0; fonts && i < fonts->nfont; ++i) {
    FcChar8* path = nullptr;
    FontFile font;
    FcBool scalable = FcFalse;
    FcPatternGetBool(fonts->fonts[i], FC_SCALABLE, 0, &scalable);
    if (!scalable || !Covers(fonts->fonts[i], text)) continue;
    if (FcPatternGetString(fonts->fonts[i], FC_FILE, 0, &path) != FcResultMatch) continue;
    FcPatternGetInteger(fonts->fonts[i], FC_INDEX, 0, &font.index);
    font.path = reinterpret_cast<const char*>(path);
    return font;
  }
  return std::nullopt;
}

class Face {
 public:
  Face(const FontFile& font, int pixels) {
    if (FT_Init_FreeType(&library) != 0) return;
    if (FT_New_Face(library, font.path.c_str(), font.index, &face) != 0) return;
    FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(pixels));
  }
  ~Face() {
    if (face != nullptr) FT_Done_Face(face);
    if (library != nullptr) FT_Done_FreeType(library);
  }
  Face(const Face&) = delete;
  Face& operator=(const Face&) = delete;

  explicit operator bool() const { return face != nullptr; }
  int Ascent() const { return static_cast<int>(face->size->metrics.ascender >> 6); }
  int LineHeight() const { return static_cast<int>(face->size->metrics.height >> 6); }
  int Width(std::u32string_view text) const {
    FT_Pos width = 0;
    for (const char32_t c : text) {
      if (FT_Load_Char(face, c, FT_LOAD_DEFAULT) == 0) width += face->glyph->advance.x;
    }
    return static_cast<int>((width + 63) >> 6);
  }
  // The glyph with its coverage bitmap; null if it cannot be drawn.
  FT_GlyphSlot Render(char32_t c) const {
    return FT_Load_Char(face, c, FT_LOAD_RENDER) == 0 ? face->glyph : nullptr;
  }

 private:
  FT_Library library = nullptr;
  FT_Face face = nullptr;
};

std::vector<std::u32string> BreakLines(const Face& face, const std::u32string& text, int maxWidth) {
  std::vector<std::u32string> lines(1);
  std::u32string word;
  const auto endWord = [&] {
    std::u32string& line = lines.back();
    if (!line.empty() && face.Width(line + U' ' + word) > maxWidth) {
      lines.push_back(word);
    } else {
      line += line.empty() ? word : U' ' + word;
    }
    word.clear();
  };
  for (const char32_t c : text) {
    if (c == U' ' || c == U'\n') {
      endWord();
      if (c == U'\n') lines.emplace_back();
    } else {
      word += c;
    }
  }
  endWord();
  return lines;
}

class Canvas {
 public:
  explicit Canvas(WarningPicture& target) : picture(target) {}

  void Fill(const RECT& r, std::uint32_t color) {
    for (int y = r.top; y < r.bottom; ++y) {
      for (int x = r.left; x < r.right; ++x) Blend(x, y, color, 255);
    }
  }

  void Text(const Face& face, std::u32string_view text, int x, int baseline) {
    FT_Pos pen = FT_Pos{x} << 6;
    for (const char32_t c : text) {
      const FT_GlyphSlot glyph = face.Render(c);
      if (glyph == nullptr) continue;
      const FT_Bitmap& bitmap = glyph->bitmap;
      for (int row = 0; row < static_cast<int>(bitmap.rows); ++row) {
        for (int column = 0; column < static_cast<int>(bitmap.width); ++column) {
          Blend(static_cast<int>(pen >> 6) + glyph->bitmap_left + column, baseline - glyph->bitmap_top + row,
                kInk, bitmap.buffer[row * bitmap.pitch + column]);
        }
      }
      pen += glyph->advance.x;
    }
  }

  // A triangle with an exclamation mark in a square; edges are smoothed with four by four samples.
  void Sign(int left, int top, int side) {
    constexpr int kSamples = 4;
    for (int y = 0; y < side; ++y) {
      for (int x = 0; x < side; ++x) {
        int fill = 0;
        int ink = 0;
        for (int s = 0; s < kSamples * kSamples; ++s) {
          const double u = (x + (s % kSamples + 0.5) / kSamples) / side;
          const double v = (y + (s / kSamples + 0.5) / kSamples) / side;
          fill += v > 0.06 && v < 0.94 && std::abs(u - 0.5) < (v - 0.06) * 0.55;
          ink += (std::abs(u - 0.5) < 0.055 && v > 0.36 && v < 0.66) || std::hypot(u - 0.5, v - 0.78) < 0.065;
        }
        Blend(left + x, top + y, kSignFill, fill * 255 / (kSamples * kSamples));
        Blend(left + x, top + y, kSignInk, ink * 255 / (kSamples * kSamples));
      }
    }
  }

 private:
  void Blend(int x, int y, std::uint32_t color, int coverage) {
    if (x < 0 || y < 0 || x >= picture.width || y >= picture.height) return;
    std::uint32_t& pixel =
        picture.pixels[static_cast<std::size_t>(y) * picture.width + static_cast<std::size_t>(x)];
    std::uint32_t mixed = 0;
    for (int shift = 0; shift < 24; shift += 8) {
      const int under = static_cast<int>(pixel >> shift & 0xFF);
      const int over = static_cast<int>(color >> shift & 0xFF);
      mixed |= static_cast<std::uint32_t>((under * (255 - coverage) + over * coverage + 127) / 255) << shift;
    }
    pixel = mixed;
  }

  WarningPicture& picture;
};

}  // namespace

std::optional<WarningPicture> DrawWarning(const std::wstring& text, const std::wstring& fallback,
                                          std::uint32_t dpi) {
  std::u32string shown = Characters(text);
  auto font = FindFont(shown + U"OK");
  if (!font) {
    shown = Characters(fallback);
    font = FindFont(shown + U"OK");
  }
  // Missing letters are better than no warning.
  if (!font) font = FindFont(U"OK");
  if (!font) return std::nullopt;
  const auto scaled = [&](int size) {
    return static_cast<int>(std::lround(size * std::clamp(dpi, 48u, 480u) / 96.0));
  };
  const Face face(*font, scaled(kTextSize));
  if (!face) return std::nullopt;

  const auto lines = BreakLines(face, shown, scaled(kMaxLine));
  int textWidth = scaled(kMinText);
  for (const auto& line : lines) textWidth = std::max(textWidth, face.Width(line));
  const int lineHeight = face.LineHeight() + scaled(4);
  const int textHeight = lineHeight * static_cast<int>(lines.size());
  const int margin = scaled(kMargin);
  const int sign = scaled(kSign);
  const int bodyHeight = std::max(textHeight, sign);
  const int footerTop = margin + bodyHeight + margin;
  const int footerHeight = scaled(kButtonHeight) + margin;

  WarningPicture picture;
  picture.width = static_cast<std::uint16_t>(std::min(margin + sign + margin + textWidth + margin, 0x7FFF));
  picture.height = static_cast<std::uint16_t>(std::min(footerTop + footerHeight, 0x7FFF));
  picture.pixels.assign(std::size_t{picture.width} * picture.height, kPaper);
  const int buttonLeft = picture.width - margin - scaled(kButtonWidth);
  const int buttonTop = footerTop + margin / 2;
  picture.button = {buttonLeft, buttonTop, buttonLeft + scaled(kButtonWidth),
                    buttonTop + scaled(kButtonHeight)};

  Canvas canvas(picture);
  canvas.Fill({0, footerTop, picture.width, picture.height}, kFooter);
  canvas.Fill({0, footerTop, picture.width, footerTop + 1}, kLine);
  canvas.Sign(margin, margin + (bodyHeight - sign) / 2, sign);
  int baseline = margin + (bodyHeight - textHeight) / 2 + scaled(2) + face.Ascent();
  for (const auto& line : lines) {
    canvas.Text(face, line, margin + sign + margin, baseline);
    baseline += lineHeight;
  }
  const RECT& button = picture.button;
  const int edge = std::max(scaled(1), 1);
  canvas.Fill(button, kButtonEdge);
  canvas.Fill({button.left + edge, button.top + edge, button.right - edge, button.bottom - edge}, kButton);
  const int buttonHeight = button.bottom - button.top;
  canvas.Text(face, U"OK", (button.left + button.right - face.Width(U"OK")) / 2,
              button.top + (buttonHeight - face.LineHeight()) / 2 + face.Ascent());
  return picture;
}

bool HasFontFor(const std::wstring& text) {
  return FindFont(Characters(text) + U"OK").has_value();
}

}  // namespace quillmark::layer
