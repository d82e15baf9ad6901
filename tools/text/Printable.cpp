#include "text/Printable.h"

#include <cstddef>
#include <utility>

#include "specs/Utf8.h"

namespace quillmark {

std::string WellFormed(std::wstring text) {
  const auto isHalf = [&](std::size_t i, wchar_t first) {
    return i < text.size() && (text[i] & 0xFC00) == first;
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isHalf(i, 0xD800) && isHalf(i + 1, 0xDC00)) {
      ++i;
    } else if (isHalf(i, 0xD800) || isHalf(i, 0xDC00)) {
      text[i] = 0xFFFD;
    }
  }
  return ToUtf8(text);
}

std::string Printable(std::wstring text) {
  for (wchar_t& unit : text) {
    if (unit < 0x20 || unit == 0x7F) unit = L'?';
  }
  return WellFormed(std::move(text));
}

std::filesystem::path PathOf(const std::string& utf8) {
  return {std::u8string(utf8.begin(), utf8.end())};
}

std::string Utf8Of(const std::filesystem::path& path) {
  const std::u8string text = path.u8string();
  return {text.begin(), text.end()};
}

}  // namespace quillmark
