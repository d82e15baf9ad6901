// Twists of a case: each changes a copy of region and spec so that one gate decides, with its limit at the
// figure or one representable number away, or so that an image is missing.
//
// Threading: one thread.
#pragma once

#include <span>

#include "core/RegionEvaluation.h"
#include "support/Images.h"

namespace quillmark::testing {

// Copies of a case's region and spec, for a twist to change.
struct Subject {
  Random& random;
  ROIUnit unit;
  TemplateSpec spec;

  [[nodiscard]] Verdict Look() const { return EvaluateRegion(unit, spec, Thoroughness::EveryStep); }
  // Leaves the decision to the colour tests, none of which agrees until the twist makes one agree.
  void AskForRedOnly() {
    spec.redHint = spec.colorGate = true;
    spec.chromaChannel = 0;
    spec.vividFlat = false;
    spec.hsvMean = cv::Scalar(90.0, 255.0, -100.0);
    spec.redRatio = 9.0;
    spec.labAMean = 999.0;
  }
};

// The spec accepts any difference at first. Raises cv::Exception when the image library does.
using Twist = void (*)(Subject&);
std::span<const Twist> AllTwists();

}  // namespace quillmark::testing
