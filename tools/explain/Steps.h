// The evaluation of a region as the list of its steps, made of the verdict alone: nothing is computed a
// second time.
//
// Threading: pure functions.
#pragma once

#include <vector>

#include "core/RegionEvaluation.h"
#include "explain/Explanation.h"

namespace quillmark::explain {

// `verdict` is of every step.
[[nodiscard]] std::vector<Step> ComparisonSteps(const TemplateSpec& spec, const ROIUnit& unit,
                                                const Verdict& verdict);

// None for an accepted verdict.
[[nodiscard]] std::optional<Reason> ReasonOf(DecidingStep step);

}  // namespace quillmark::explain
