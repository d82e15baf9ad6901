// A spec tried on a picture that was made for it: cut, evaluated and told by the worker's own code.
//
// Threading: pure functions.
#pragma once

#include <opencv2/core.hpp>
#include <string>

#include "core/FrameJob.h"
#include "core/RegionEvaluation.h"

namespace quillmark::advice {

struct Probe {
  ROIUnit unit;
  Verdict verdict;  // of every step, unless one behind the first veto cannot be computed
};

// `bgr` (8UC3, not empty) is the whole region, at template scale. Raises cv::Exception as the evaluation
// does.
[[nodiscard]] Probe ProbeOn(const cv::Mat& bgr, const TemplateSpec& spec);
// A region as it is.
[[nodiscard]] Probe ProbeOn(ROIUnit unit, const TemplateSpec& spec);

// What refused it, in figures: "difference 0.21, at most 0.1". Empty for an accepted verdict.
[[nodiscard]] std::string RefusalText(const Probe& probe, const TemplateSpec& spec);

// The largest difference that the worker accepts, by its limit and the minimum score together.
[[nodiscard]] double AcceptedDifference(const Verdict& verdict, const TemplateSpec& spec);

}  // namespace quillmark::advice
