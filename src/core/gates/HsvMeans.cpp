#include <algorithm>
#include <cmath>

#include "core/Gates.h"

namespace quillmark {

namespace {

Limit WithClippedAllowance(Limit limit, bool clipped) {
  if (clipped) limit.Becomes(Rule::Clipped, limit.Value() + 3.0);
  return limit;
}

double Distance(const cv::Scalar& a, const cv::Scalar& b, int channel) {
  return std::abs(a[channel] - b[channel]);
}

}  // namespace

Limit HueLimit(const GateContext& context) {
  Limit limit(Rule::Usual, 12.0);
  if (context.traits.lowDetail) limit.Becomes(Rule::LowDetail, 18.0);
  return WithClippedAllowance(limit, context.clipped);
}

GateResult HueGate(const cv::Scalar& hsvMean, const GateContext& context) {
  if (IsColourless(context.spec)) return NotMeasured(Because::Colourless);
  const double distance = Distance(hsvMean, context.spec.hsvMean, 0);
  return AtMost(std::min(distance, 180.0 - distance), HueLimit(context));
}

Limit SaturationLimit(const GateContext& context) {
  Limit limit(Rule::Usual, 12.0);
  if (context.spec.vividFlat) limit.Becomes(Rule::VividFlat, 8.0);
  return WithClippedAllowance(limit, context.clipped);
}

GateResult SaturationGate(const cv::Scalar& hsvMean, const GateContext& context) {
  if (IsColourless(context.spec)) return NotMeasured(Because::Colourless);
  return AtMost(Distance(hsvMean, context.spec.hsvMean, 1), SaturationLimit(context));
}

// Colourless templates are compared by brightness alone, with a wide limit that no other rule moves.
Limit ValueLimit(const GateContext& context) {
  if (IsColourless(context.spec)) return Limit(Rule::Colourless, 45.0);
  Limit limit(Rule::Usual, 12.0);
  if (context.spec.vividFlat) limit.Becomes(Rule::VividFlat, 10.0);
  return WithClippedAllowance(limit, context.clipped);
}

GateResult ValueGate(const cv::Scalar& hsvMean, const GateContext& context) {
  return AtMost(Distance(hsvMean, context.spec.hsvMean, 2), ValueLimit(context));
}

}  // namespace quillmark
