#include <cmath>

#include "core/Gates.h"

namespace quillmark {

Limit LabALimit(bool clipped) {
  Limit limit(Rule::Usual, 8.0);
  if (clipped) limit.Becomes(Rule::Clipped, 10.0);
  return limit;
}

GateResult LabAGate(double mean, const GateContext& context) {
  return AtMost(std::abs(mean - context.spec.labAMean), LabALimit(context.clipped));
}

}  // namespace quillmark
