// The text by which a spec names its window.
//
// Threading: no shared state.
#pragma once

#include <string>
#include <string_view>

namespace quillmark {

class TargetText {
 public:
  // `target` is an executable's file name if it ends in ".exe" or ".EXE" and is longer, otherwise part of a
  // title.
  explicit TargetText(const std::wstring& target);

  // Whether it is an executable's file name.
  [[nodiscard]] bool ByImageName() const { return byImageName; }

  // Whether the window's program or title matches, ignoring case.
  template <typename Window>
  [[nodiscard]] bool Means(Window& window) const {
    return byImageName ? IsName(window.ImageFile()) : IsPartOf(window.Title());
  }

 private:
  [[nodiscard]] bool IsName(std::wstring_view imageFile) const;
  [[nodiscard]] bool IsPartOf(std::wstring_view title) const;

  std::wstring folded;  // in lower case
  bool byImageName;
};

}  // namespace quillmark
