// The text by which a spec names its window, and the rule by which one of the top-level windows is chosen for
// it: the largest that is shown and meant by the text; among equal areas the first one asked about.
//
// The rule knows windows only by what they answer, whoever answers for them. A Window has
//   bool Shown()                       top-level, visible and not minimised
//   std::wstring_view ImageFile()      file name of its program; empty when that cannot be read
//   std::wstring_view Title()          empty when it has none
//   bool OuterRect(Rect&)              desktop pixels; false when it cannot be measured
// and is asked in this order, for one of the two texts only, and for nothing once it is out of the question.
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
