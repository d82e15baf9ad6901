// Text at a client's boundary: UTF-8 outside, UTF-16 units in std::wstring inside.
//
// Threading: free functions without state.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace quillmark::client {

// Empty for invalid UTF-8, including unpaired surrogates.
[[nodiscard]] std::optional<std::wstring> ToWide(const std::string& utf8);

// Unpaired surrogates become U+FFFD.
[[nodiscard]] std::string ToUtf8(const std::wstring& text);

// A text for a field of `maxUnits`. Raises Refused, naming `what`, when it is longer, not UTF-8 or contains a
// zero; NonEmptyField also when it is empty.
[[nodiscard]] std::wstring Field(const std::string& what, const std::string& utf8, std::size_t maxUnits);
[[nodiscard]] std::wstring NonEmptyField(const std::string& what, const std::string& utf8,
                                         std::size_t maxUnits);

}  // namespace quillmark::client
