#include "core/Gates.h"

namespace quillmark {

GateResult MinScoreGate(double dist, const TemplateSpec& spec) {
  if (!(spec.minScore > 0.0)) return NotMeasured(Because::NoMinScore);
  return AtLeast(1.0 - dist, Limit(Rule::Spec, spec.minScore));
}

}  // namespace quillmark
