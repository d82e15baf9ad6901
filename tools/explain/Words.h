// Texts of other programs, in UTF-8, whatever they hold.
//
// Threading: free functions without state.
#pragma once

#include <string>

namespace quillmark::explain {

// Halves of surrogate pairs become U+FFFD.
[[nodiscard]] std::string WellFormed(std::wstring text);
// For people: what could steer a terminal becomes '?' as well.
[[nodiscard]] std::string Readable(std::wstring text);

}  // namespace quillmark::explain
