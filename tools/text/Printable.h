// Texts of other programs, in UTF-8, whatever they hold.
//
// Threading: free functions without state.
#pragma once

#include <string>

namespace quillmark {

// Halves of surrogate pairs become U+FFFD.
[[nodiscard]] std::string WellFormed(std::wstring text);
// For people: what could steer a terminal becomes '?' as well.
[[nodiscard]] std::string Printable(std::wstring text);

}  // namespace quillmark
