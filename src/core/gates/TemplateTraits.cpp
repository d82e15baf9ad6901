#include "core/Gates.h"
#include "core/ImageFigures.h"
#include "core/Matcher.h"

namespace quillmark {

bool IsTiny(const TemplateSpec& spec) {
  return spec.tmplGray.cols * spec.tmplGray.rows <= kTinyPixels;
}

TemplateTraits TraitsOf(const TemplateSpec& spec) {
  const MeanAndStdDev levels = LevelsOf(spec.tmplGray);
  TemplateTraits traits;
  traits.tiny = IsTiny(spec);
  traits.lowDetail = traits.tiny || spec.edgeDensity < kLowDetailDensity;
  traits.flat = levels.stdDev < kFlatStdDev || spec.edgeDensity < 0.005;
  traits.blankWhite = levels.mean > 245.0 && levels.stdDev < kFlatStdDev;
  return traits;
}

bool IsColourless(const TemplateSpec& spec) {
  return spec.hsvMean[1] <= 15.0;
}

}  // namespace quillmark
