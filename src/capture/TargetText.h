// The text by which a spec names its window, and which of two windows that it means is taken.
//
// Threading: no shared state.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "specs/TemplateSpec.h"

namespace quillmark {

class TargetText {
 public:
  // Refers to `target`: part of a title, or an executable's file name when more than ".exe" or ".EXE" alone
  // ends in one of these two.
  explicit TargetText(const std::wstring& target);

  // Whether it is an executable's file name.
  [[nodiscard]] bool ByImageName() const { return byImageName; }

  // In any letter case.
  template <typename Window>
  [[nodiscard]] bool Means(Window& window) const {
    return byImageName ? IsName(window.ImageFile()) : IsPartOf(window.Title());
  }

 private:
  [[nodiscard]] bool IsName(std::wstring_view imageFile) const;
  [[nodiscard]] bool IsPartOf(std::wstring_view title) const;

  const std::wstring& name;
  bool byImageName;
};

class TargetChoice {
 public:
  explicit TargetChoice(const std::wstring& target) : text(target) {}

  // Whether the window takes the place of the best one so far.
  template <typename Window>
  [[nodiscard]] bool Takes(Window& window) {
    if (!window.Shown() || !text.Means(window)) return false;
    Rect rect;
    if (!window.OuterRect(rect)) return false;
    if (hasBest && AreaOf(rect) <= AreaOf(best)) return false;
    hasBest = true;
    best = rect;
    return true;
  }

 private:
  static std::int32_t AreaOf(const Rect& rect);

  TargetText text;
  bool hasBest = false;
  Rect best;
};

}  // namespace quillmark
