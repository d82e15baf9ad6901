// Text at a client's border: UTF-8 outside, UTF-16 units in std::wstring inside.
//
// Threading: free functions without state.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace quillmark::client {

// Nothing when the bytes are not UTF-8, which unpaired surrogates are not.
[[nodiscard]] std::optional<std::wstring> ToWide(const std::string& utf8);

// Unpaired surrogates become U+FFFD.
[[nodiscard]] std::string ToUtf8(const std::wstring& text);

// A text for a field of that many units. Raises Refused, with `what` in front, when it is longer, not UTF-8,
// or holds a zero, which would end it; NonEmptyField also when it is empty.
[[nodiscard]] std::wstring Field(const std::string& what, const std::string& utf8, std::size_t maxUnits);
[[nodiscard]] std::wstring NonEmptyField(const std::string& what, const std::string& utf8,
                                         std::size_t maxUnits);

}  // namespace quillmark::client
