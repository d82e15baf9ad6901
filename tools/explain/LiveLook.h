// Explains a spec on the desktop as it is now: finds the target window, chooses the monitors and captures
// them with the worker's own code.
//
// Threading: one thread at a time; blocks for up to two seconds a monitor.
#pragma once

#include <vector>

#include "explain/Explanation.h"

namespace quillmark::explain {

// Goes on with a prepared explanation to its end: one for each monitor that the region is looked for on, in
// the system's order, or a single one when it ended before that.
[[nodiscard]] std::vector<Explanation> ExplainLive(const Explanation& prepared);

}  // namespace quillmark::explain
