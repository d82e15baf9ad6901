// Explains a spec on a screenshot. The worker's own code prepares the template, cuts the region and evaluates
// it.
//
// Threading: callable from any thread.
#pragma once

#include <cstddef>
#include <functional>

#include "explain/Explanation.h"

namespace quillmark::explain {

// Begins an explanation: prepares the spec as the worker does, which may already reject it.
[[nodiscard]] Explanation PrepareExplanation(const SpecRequest& request);

// Ends an explanation before the comparison; `step` has the reason.
void EndWith(Explanation& explanation, Step step);

// The long steps: converting the screenshot, evaluating the region, mapping the differences.
inline constexpr std::size_t kLongSteps = 3;
// Called with the number of long steps done; an explanation may end before the last.
using Progress = std::function<void(std::size_t done)>;

// Completes the explanation on a screenshot. The spec was not rejected and its target is bound: targetRect,
// scales and targetValid are set.
void ExplainOn(Explanation& explanation, const Picture& picture, const Progress& progress = {});

}  // namespace quillmark::explain
