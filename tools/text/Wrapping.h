// Text for a terminal of some width.
//
// Threading: pure function.
#pragma once

#include <cstddef>
#include <string>

namespace quillmark {

// UTF-8 text with its lines broken between words to `width` characters, all but the first begun with `indent`
// blanks; the first begins in that column, too. As it is where hardly any room is left, as with width 0.
[[nodiscard]] std::string Wrapped(const std::string& text, std::size_t indent, std::size_t width);

}  // namespace quillmark
