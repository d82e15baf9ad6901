#include "specs/Utf8.h"

#include <windows.h>

#include <sstream>
#include <system_error>

namespace quillmark {

std::string ToUtf8(const std::wstring& text) {
  if (text.empty()) return {};
  const int units = static_cast<int>(text.size());
  const int length =
      ::WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), units, nullptr, 0, nullptr, nullptr);
  if (length == 0) {
    throw std::system_error(std::make_error_code(std::errc::illegal_byte_sequence),
                            "text is not valid UTF-16");
  }
  std::string bytes(static_cast<std::size_t>(length), '\0');
  ::WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), units, bytes.data(), length, nullptr,
                        nullptr);
  return bytes;
}

std::wstring FromUtf8(std::string_view bytes) {
  if (bytes.empty()) return {};
  const int length = static_cast<int>(bytes.size());
  const int units = ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(units), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), length, text.data(), units);
  return text;
}

std::wstring CauseOf(const std::exception& error) {
  std::wistringstream words(FromUtf8(error.what()));
  std::wstring line, word;
  while (words >> word) line += (line.empty() ? L"" : L" ") + word;
  return line;
}

}  // namespace quillmark
