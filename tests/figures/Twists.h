// Twists of a case of the figures: each changes a copy of the region and the spec, so that one gate decides,
// by a limit at its figure or one representable number beside it, or so that an image is missing.
//
// Threading: one thread.
#pragma once

#include <span>

#include "core/RegionEvaluation.h"
#include "support/Images.h"

namespace quillmark::testing {

// What a decision is made of: copies of the case's, for a twist to change.
struct Subject {
  Random& random;
  ROIUnit unit;
  TemplateSpec spec;

  [[nodiscard]] Verdict Look() const { return EvaluateRegion(unit, spec, Thoroughness::EveryStep); }
  // Leaves the decision to the colour tests, of which none agrees until the twist has one agree.
  void AskForRedOnly() {
    spec.redHint = spec.colorGate = true;
    spec.chromaChannel = 0;
    spec.vividFlat = false;
    spec.hsvMean = cv::Scalar(90.0, 255.0, -100.0);
    spec.redRatio = 9.0;
    spec.labAMean = 999.0;
  }
};

// Each begins with a spec that accepts any difference. Raises cv::Exception when the image library does.
using Twist = void (*)(Subject&);
std::span<const Twist> AllTwists();

}  // namespace quillmark::testing
