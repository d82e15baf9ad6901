// Searches an 8-bit image for the placement with the smallest squared difference from a template.
//
// The squared difference of a placement is the window's energy less twice its correlation with the template
// plus the template's energy: sums of integers, exact in double precision. So a placement's difference
// depends on nothing but its window, and the first in row order of several equal ones is the best.
//
// Threading: callable from any thread at the same time; scratch memory is kept per thread.
#pragma once

#include <opencv2/core.hpp>

#include "core/PlacementMap.h"
#include "core/TemplateSpectra.h"

namespace quillmark {

enum class Difference {
  Normed,      // over the roots of both energies; 1 for a black window or template, at most 1
  MeanSquare,  // over the pixels and 255^2
};

struct DifferenceInputs {
  const cv::Mat& image;  // large enough for the template
  const cv::Mat& tmpl;
  Difference kind = Difference::Normed;
  TemplateSpectra* spectra = nullptr;  // where the template's are kept
};

// Images that are not both 8-bit of one type are searched by cv::matchTemplate, which raises cv::Exception
// for two types that do not go together, and leave the map empty. `shown`, when given, gets every placement's
// difference (32FC1), within 1e-6 of its value.
[[nodiscard]] Placement SearchByDifference(const DifferenceInputs& inputs, const KnownPlacements& known = {},
                                           cv::Mat* shown = nullptr);

}  // namespace quillmark
