// Wraps text for a terminal.
//
// Threading: pure function.
#pragma once

#include <cstddef>
#include <string>

namespace quillmark {

// Breaks UTF-8 text between words into lines of `width` characters. The first line starts in column `indent`,
// the others with as many blanks. Unchanged if `width` leaves hardly any room, or is 0.
[[nodiscard]] std::string Wrapped(const std::string& text, std::size_t indent, std::size_t width);

}  // namespace quillmark
