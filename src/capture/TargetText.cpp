#include "capture/TargetText.h"

#include <algorithm>
#include <cwctype>

namespace quillmark {
namespace {

wchar_t Lower(wchar_t unit) {
  return static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(unit)));
}

bool SameLetters(wchar_t a, wchar_t b) {
  return Lower(a) == Lower(b);
}

}  // namespace

TargetText::TargetText(const std::wstring& target)
    : name(target),
      byImageName(target.size() > 4 && (target.ends_with(L".exe") || target.ends_with(L".EXE"))) {}

bool TargetText::IsName(std::wstring_view imageFile) const {
  return std::equal(imageFile.begin(), imageFile.end(), name.begin(), name.end(), SameLetters);
}

bool TargetText::IsPartOf(std::wstring_view title) const {
  return !title.empty() &&
         std::search(title.begin(), title.end(), name.begin(), name.end(), SameLetters) != title.end();
}

}  // namespace quillmark
