#include <cmath>

#include "core/Gates.h"

namespace quillmark {

Limit RedLimit(bool clipped) {
  Limit limit(Rule::Usual, 0.08);
  if (clipped) limit.Becomes(Rule::Clipped, 0.12);
  return limit;
}

GateResult RedGate(double ratio, const GateContext& context) {
  return AtMost(std::abs(ratio - context.spec.redRatio), RedLimit(context.clipped));
}

}  // namespace quillmark
