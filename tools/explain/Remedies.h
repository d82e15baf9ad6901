// What would have made a hit of a refused picture. Nothing is supposed: each change is made to the spec and
// decided on the same picture by the worker's evaluation, and only those that give a hit are told.
//
// Threading: pure function.
#pragma once

#include <vector>

#include "explain/Explanation.h"

namespace quillmark::explain {

// Of an explanation that came to the comparison and was refused there. The surest come first.
[[nodiscard]] std::vector<Remedy> RemediesFor(const Explanation& explanation);

}  // namespace quillmark::explain
