// Converts between the layer's wide text (UTF-16 units, one in each wchar_t) and the host's UTF-8.
//
// Threading: pure functions, any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillmark::layer {

// An unpaired surrogate becomes U+FFFD; `valid`, if given, is then false.
std::u32string Characters(std::wstring_view wide, bool* valid = nullptr);
std::string ToUtf8(std::wstring_view wide, bool* valid = nullptr);

// Each invalid sequence becomes U+FFFD; `valid`, if given, is then false.
std::wstring FromUtf8(std::string_view bytes, bool* valid = nullptr);

}  // namespace quillmark::layer
