#include <algorithm>

#include "core/Gates.h"
#include "core/Matcher.h"

namespace quillmark {

Limit GreyCorrelationLimit(const GateContext& context) {
  Limit limit(Rule::Usual, 0.58);
  if (context.traits.lowDetail) {
    const bool red = context.spec.redHint;
    limit.Becomes(red ? Rule::LowDetailRed : Rule::LowDetail, red ? 0.6 : 0.7);
  }
  if (context.clipped) limit.Becomes(Rule::Clipped, std::max(limit.Value() - 0.05, 0.5));
  return limit;
}

GateResult GreyCorrelationGate(const cv::Mat& patch, const GateContext& context) {
  if (context.traits.flat) return NotMeasured(Because::FlatTemplate);
  return AtLeast(NCC1x1_Gray(patch, context.spec.tmplGray), GreyCorrelationLimit(context));
}

}  // namespace quillmark
