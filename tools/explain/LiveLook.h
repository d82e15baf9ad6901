// Explains a spec on the current desktop: finds the target window, chooses the monitors and captures them
// with the worker's own code.
//
// Threading: one thread at a time; blocks for up to two seconds per monitor.
#pragma once

#include <vector>

#include "explain/Explanation.h"

namespace quillmark::explain {

// Completes a prepared explanation: one for each monitor that shows the region, in the system's order, or a
// single one when it ended before that.
[[nodiscard]] std::vector<Explanation> ExplainLive(const Explanation& prepared);

}  // namespace quillmark::explain
