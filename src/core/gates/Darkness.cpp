#include "core/Gates.h"

namespace quillmark {

GateResult DarknessGate(const cv::Scalar& hsvMean, const TemplateSpec& spec) {
  if (!spec.vividFlat) return NotMeasured(Because::NotVividFlat);
  return AtMost(spec.hsvMean[2] - hsvMean[2], Limit(Rule::Usual, 30.0));
}

}  // namespace quillmark
