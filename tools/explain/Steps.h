// The evaluation of a region as the list of its steps, taken from the verdict alone: nothing is computed a
// second time.
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

// The verdict of every step or, should one behind the first veto raise an error, of the steps up to that
// veto. Raises cv::Exception as EvaluateRegion does.
[[nodiscard]] Verdict ThoroughVerdict(const ROIUnit& unit, const TemplateSpec& spec);

// In the order of the vetoes; `verdict` is of every step.
[[nodiscard]] std::vector<Step> ComparisonSteps(const TemplateSpec& spec, const ROIUnit& unit,
                                                const Verdict& verdict);

// None for an accepted verdict.
[[nodiscard]] std::optional<Reason> ReasonOf(DecidingStep step);

// None for a target that is bound.
[[nodiscard]] std::optional<Reason> ReasonOf(BindingOutcome outcome);

// What moved a limit, without its figure.
[[nodiscard]] std::string TextOf(Rule rule);

}  // namespace quillmark::explain
