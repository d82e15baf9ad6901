// Tries a spec on an image: cut and evaluated by the worker's own code.
//
// Threading: pure functions.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <string>

#include "core/FrameJob.h"
#include "core/RegionEvaluation.h"

namespace quillmark::advice {

// Larger than any client area.
inline constexpr std::int32_t kAnySize = 1 << 20;

struct Probe {
  ROIUnit unit;
  Verdict verdict;  // of every step, unless one after the first veto cannot be computed
};

// The spec with a screenshot of this size as its client area, searched as a whole if it has no region.
[[nodiscard]] TemplateSpec BoundTo(cv::Size screenshot, TemplateSpec spec, double scale, bool hasRegion);

// `bgr` (8UC3, not empty) is the whole region at template scale. Raises cv::Exception like the evaluation.
[[nodiscard]] Probe ProbeOn(const cv::Mat& bgr, const TemplateSpec& spec);
[[nodiscard]] Probe ProbeOn(ROIUnit unit, const TemplateSpec& spec);

// What rejected it, in figures: "difference 0.21, at most 0.1". Empty for an accepted verdict.
[[nodiscard]] std::string RefusalText(const Probe& probe, const TemplateSpec& spec);

// The largest difference that both its limit and the minimum score accept.
[[nodiscard]] double AcceptedDifference(const Verdict& verdict, const TemplateSpec& spec);

}  // namespace quillmark::advice
