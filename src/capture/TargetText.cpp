#include "capture/TargetText.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cwctype>

namespace quillmark {
namespace {

// As std::towlower in the process's locale, without its call for the units that most titles consist of.
wchar_t Lower(wchar_t unit) {
  const auto fold = [](wchar_t any) {
    return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(any)));
  };
  static const std::array<wchar_t, 128> ascii = [&] {
    std::array<wchar_t, 128> lower{};
    for (std::size_t i = 0; i < lower.size(); ++i) lower[i] = fold(static_cast<wchar_t>(i));
    return lower;
  }();
  const auto index = static_cast<std::size_t>(unit);
  return index < ascii.size() ? ascii[index] : fold(unit);
}

std::wstring Folded(std::wstring text) {
  std::ranges::transform(text, text.begin(), Lower);
  return text;
}

bool SameLetter(wchar_t unit, wchar_t folded) {
  return Lower(unit) == folded;
}

}  // namespace

TargetText::TargetText(const std::wstring& target)
    : folded(Folded(target)),
      byImageName(target.size() > 4 && (target.ends_with(L".exe") || target.ends_with(L".EXE"))) {}

bool TargetText::IsName(std::wstring_view imageFile) const {
  return std::equal(imageFile.begin(), imageFile.end(), folded.begin(), folded.end(), SameLetter);
}

bool TargetText::IsPartOf(std::wstring_view title) const {
  return !title.empty() &&
         std::search(title.begin(), title.end(), folded.begin(), folded.end(), SameLetter) != title.end();
}

}  // namespace quillmark
