// The evaluation of a region as a list of steps, read from the verdict: nothing is computed again.
//
// Threading: pure functions.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "capture/TargetBinding.h"
#include "core/RegionEvaluation.h"
#include "explain/Explanation.h"

namespace quillmark::explain {

// The verdict of every step or, if a step after the first veto raises an error, of those up to the veto.
// Raises cv::Exception as EvaluateRegion does.
[[nodiscard]] Verdict ThoroughVerdict(const ROIUnit& unit, const TemplateSpec& spec);

// In the order of the decision; `verdict` has every step.
[[nodiscard]] std::vector<Step> ComparisonSteps(const TemplateSpec& spec, const ROIUnit& unit,
                                                const Verdict& verdict);

// None for an accepted verdict.
[[nodiscard]] std::optional<Reason> ReasonOf(DecidingStep step);
// None for a bound target.
[[nodiscard]] std::optional<Reason> ReasonOf(BindingOutcome outcome);

// What moved a limit.
[[nodiscard]] std::string TextOf(Rule rule);

}  // namespace quillmark::explain
