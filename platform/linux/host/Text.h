// Between the layer's wide text (UTF-16 units, one in each wchar_t) and the host's UTF-8.
//
// Threading: pure functions, any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillmark::layer {

// `valid`, where given, tells whether every unit had a meaning; an unpaired surrogate becomes U+FFFD.
std::string ToUtf8(std::wstring_view wide, bool* valid = nullptr);

// `valid`, where given, tells whether the bytes were UTF-8; each ill-formed piece becomes U+FFFD.
std::wstring FromUtf8(std::string_view bytes, bool* valid = nullptr);

}  // namespace quillmark::layer
