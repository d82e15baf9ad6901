#include <algorithm>

#include "core/Gates.h"

namespace quillmark {

// The step for a clipped region comes last and may go below the floor.
Limit EdgeCorrelationLimit(double dist, const GateContext& context) {
  const TemplateSpec& spec = context.spec;
  Limit limit(Rule::Spec, spec.edgeMin);
  if (dist <= spec.edgeRelaxDiff) limit.Becomes(Rule::Relaxed, limit.Value() - spec.edgeRelaxStep);
  limit.Becomes(Rule::Floor, std::max(limit.Value(), spec.edgeMinFloor));
  if (context.clipped) limit.Becomes(Rule::Clipped, limit.Value() - 0.05);
  return limit;
}

GateResult EdgeCorrelationGate(double plain, double dilated, double dist, const GateContext& context) {
  return AtLeast(std::max(plain, dilated), EdgeCorrelationLimit(dist, context));
}

}  // namespace quillmark
