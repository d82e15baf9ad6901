// The product's version as the version reply tells it.
//
// Threading: any thread.
#pragma once

#include <string>

namespace quillmark {

// The version resource of the running program: its product version text, else its numeric file version as
// "a.b.c.d"; the version that the program was built as when it has no resource.
[[nodiscard]] std::wstring GetProductVersionString();

}  // namespace quillmark
