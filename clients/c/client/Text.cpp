#include "client/Text.h"

#include <windows.h>

#include "client/Refused.h"

namespace quillmark::client {

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

std::wstring Field(const std::string& what, const std::string& utf8, std::size_t maxUnits) {
  std::optional<std::wstring> text = ToWide(utf8);
  if (!text) throw Refused(Refusal::BadText, what, "is not valid UTF-8");
  if (text->find(L'\0') != std::wstring::npos) throw Refused(Refusal::BadText, what, "contains a zero");
  if (text->size() > maxUnits) {
    throw Refused(Refusal::TooLong, what,
                  "has " + std::to_string(text->size()) + " characters (UTF-16 units); at most " +
                      std::to_string(maxUnits) + " are allowed");
  }
  return *std::move(text);
}

std::wstring NonEmptyField(const std::string& what, const std::string& utf8, std::size_t maxUnits) {
  if (utf8.empty()) throw Refused(Refusal::BadText, what, "must not be empty");
  return Field(what, utf8, maxUnits);
}

}  // namespace quillmark::client
