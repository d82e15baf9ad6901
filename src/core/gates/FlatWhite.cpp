#include "core/Gates.h"
#include "core/ImageFigures.h"

namespace quillmark {

// A blank white template matches any bright area closely, so the area must be blank too.
GateResult FlatWhiteGate(const cv::Mat& patch, const TemplateTraits& traits) {
  if (!traits.blankWhite) return NotMeasured(Because::NotBlankWhite);
  return AtMost(LevelsOf(patch).stdDev, Limit(Rule::Usual, 4.0));
}

}  // namespace quillmark
