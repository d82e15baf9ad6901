// Untrusted text as UTF-8.
//
// Threading: free functions without state.
#pragma once

#include <filesystem>
#include <string>

namespace quillmark {

// Halves of surrogate pairs become U+FFFD.
[[nodiscard]] std::string WellFormed(std::wstring text);
// For people: control characters become '?' as well.
[[nodiscard]] std::string Printable(std::wstring text);

// Paths by UTF-8 names.
[[nodiscard]] std::filesystem::path PathOf(const std::string& utf8);
[[nodiscard]] std::string Utf8Of(const std::filesystem::path& path);

}  // namespace quillmark
