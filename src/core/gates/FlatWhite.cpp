#include "core/Gates.h"
#include "core/ImageFigures.h"

namespace quillmark {

// A blank white template finds a close match in any bright place, so the place has to be blank too.
GateResult FlatWhiteGate(const cv::Mat& patch, const TemplateTraits& traits) {
  if (!traits.blankWhite) return NotMeasured(Because::NotBlankWhite);
  return AtMost(LevelsOf(patch).stdDev, Limit(Rule::Usual, 4.0));
}

}  // namespace quillmark
