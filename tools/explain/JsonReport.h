// An explanation as one JSON object; docs/explain.md describes its fields.
//
// Threading: pure function.
#pragma once

#include <nlohmann/json.hpp>

#include "explain/Explanation.h"

namespace quillmark::explain {

// Every figure is written so that reading it gives the same bits.
[[nodiscard]] nlohmann::ordered_json JsonReport(const Explanation& explanation);

}  // namespace quillmark::explain
