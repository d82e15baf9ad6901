// The rules by which the evaluation comes to its limits, told one by one. The last rule's limit is to the bit
// the one in the verdict.
//
// Threading: pure functions.
#pragma once

#include <vector>

#include "core/RegionEvaluation.h"
#include "explain/Explanation.h"

namespace quillmark::explain {

[[nodiscard]] std::vector<LimitRule> DifferenceRules(const TemplateSpec& spec, const ROIUnit& unit,
                                                     const Verdict& verdict);
[[nodiscard]] std::vector<LimitRule> GreyCorrelationRules(const TemplateSpec& spec, const ROIUnit& unit,
                                                          const Verdict& verdict);
[[nodiscard]] std::vector<LimitRule> EdgeCorrelationRules(const TemplateSpec& spec, const ROIUnit& unit,
                                                          const Verdict& verdict);

enum class ColourTest { Hue, Saturation, Value, Red, LabA };
[[nodiscard]] std::vector<LimitRule> ColourRules(ColourTest test, const TemplateSpec& spec,
                                                 const ROIUnit& unit, const Verdict& verdict);

// The template's colour is so weak that only its brightness is compared.
[[nodiscard]] bool IsColourless(const TemplateSpec& spec);

}  // namespace quillmark::explain
