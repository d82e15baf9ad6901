// Text at the control tool's border: UTF-8 outside, UTF-16 units in std::wstring inside.
//
// Threading: free functions without state.
#pragma once

#include <optional>
#include <string>

namespace quillmark::control {

// Nothing when the bytes are not UTF-8.
[[nodiscard]] std::optional<std::wstring> ToWide(const std::string& utf8);

// Unpaired surrogates become U+FFFD.
[[nodiscard]] std::string ToUtf8(const std::wstring& text);

}  // namespace quillmark::control
