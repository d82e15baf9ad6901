#include "Text.h"

#include <windows.h>

namespace quillmark::control {

std::optional<std::wstring> ToWide(const std::string& utf8) {
  if (utf8.empty()) return std::wstring();
  const int length = static_cast<int>(utf8.size());
  const int units = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), length, nullptr, 0);
  if (units <= 0) return std::nullopt;
  std::wstring text(static_cast<std::size_t>(units), L'\0');
  ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), length, text.data(), units);
  return text;
}

std::string ToUtf8(const std::wstring& text) {
  if (text.empty()) return {};
  const int length = static_cast<int>(text.size());
  const int size = ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  if (size <= 0) return {};
  std::string utf8(static_cast<std::size_t>(size), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, utf8.data(), size, nullptr, nullptr);
  return utf8;
}

}  // namespace quillmark::control
