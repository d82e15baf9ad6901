#include <algorithm>

#include "core/Gates.h"

namespace quillmark {

Limit DifferenceLimit(const GateContext& context) {
  Limit limit(Rule::Spec, context.spec.maxDiff);
  if (context.clipped) {
    limit.Becomes(Rule::ClippedMinimum, std::max(limit.Value(), 0.16));
    limit.Becomes(Rule::ClippedMaximum, std::min(limit.Value(), 0.25));
  }
  if (IsHueMode(context.spec.mode)) {  // their differences vary less
    limit.Becomes(Rule::HueMode, std::max(limit.Value(), 0.35));
  } else if (context.traits.tiny) {
    limit.Becomes(Rule::Tiny, std::min(limit.Value(), 0.06));
  }
  return limit;
}

GateResult DifferenceGate(double dist, const GateContext& context) {
  return AtMost(dist, DifferenceLimit(context));
}

}  // namespace quillmark
