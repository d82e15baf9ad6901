// Changes to the spec that would have made a hit. Each is tried on the same screenshot with the worker's
// evaluation, and only those that give a hit are returned.
//
// Threading: pure function.
#pragma once

#include <vector>

#include "explain/Explanation.h"

namespace quillmark::explain {

// For an explanation rejected by the comparison. Best first.
[[nodiscard]] std::vector<Remedy> RemediesFor(const Explanation& explanation);

}  // namespace quillmark::explain
