// The product's version, for the version reply.
//
// Threading: any thread.
#pragma once

#include <string>

namespace quillmark {

// The running program's version resource: its product version text, else its file version as "a.b.c.d".
// Without a resource, the version of the build.
[[nodiscard]] std::wstring GetProductVersionString();

}  // namespace quillmark
