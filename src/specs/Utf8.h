// Converts text to and from UTF-8, for file paths and exceptions.
//
// Threading: no shared state, callable from any thread.
#pragma once

#include <exception>
#include <string>
#include <string_view>

namespace quillmark {

// UTF-16 as UTF-8. Raises std::system_error (illegal byte sequence) for an unpaired surrogate.
[[nodiscard]] std::string ToUtf8(const std::wstring& text);

// UTF-8 as UTF-16; invalid bytes become U+FFFD.
[[nodiscard]] std::wstring FromUtf8(std::string_view bytes);

// An exception's text on one line; the image library's texts have several.
[[nodiscard]] std::wstring CauseOf(const std::exception& error);

}  // namespace quillmark
