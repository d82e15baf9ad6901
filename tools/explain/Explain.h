// Explains one spec on one picture with the worker's own code: its preparation of templates, its cutting of
// regions and its evaluation give every figure.
//
// Threading: callable from any thread; one explanation at a time by each.
#pragma once

#include <cstddef>
#include <functional>

#include "explain/Explanation.h"

namespace quillmark::explain {

// Begins an explanation: makes of the request what the worker makes of it, which may already be refused.
[[nodiscard]] Explanation PrepareExplanation(const SpecRequest& request);

// Ends one before the comparison, for a reason found elsewhere. `step` tells of it, its reason set.
void EndWith(Explanation& explanation, Step step);

// What takes long of an explanation: to convert the picture, to evaluate the region, to map the differences.
inline constexpr std::size_t kLongSteps = 3;
// Hears how many of them are done; an explanation may end before them.
using Progress = std::function<void(std::size_t done)>;

// Goes on to the end on a picture of the desktop. The spec was not refused and its target is bound:
// targetRect, scales and targetValid are set.
void ExplainOn(Explanation& explanation, const Picture& picture, const Progress& progress = {});

}  // namespace quillmark::explain
