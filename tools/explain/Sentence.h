// An explanation in one sentence.
//
// Threading: pure function.
#pragma once

#include <string>

#include "explain/Explanation.h"

namespace quillmark::explain {

// Such as "Rejected by edge density: 0.091 against 0.042 +- 0.04; everything else passes." Its steps and its
// reason are complete.
[[nodiscard]] std::string SentenceOf(const Explanation& explanation);

}  // namespace quillmark::explain
