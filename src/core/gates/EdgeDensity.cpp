#include <cmath>

#include "core/Gates.h"

namespace quillmark {

GateResult EdgeDensityGate(double density, const TemplateSpec& spec) {
  return AtMost(std::abs(density - spec.edgeDensity), Limit(Rule::Usual, 0.04));
}

}  // namespace quillmark
