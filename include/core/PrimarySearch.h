// The first step of a region's evaluation: the search for the placement at which the region differs least
// from the template, by the planes that the spec's mode compares. A difference is 0 for a perfect match.
//
// Threading: pure functions of their arguments, callable from any thread at the same time.
#pragma once

#include <opencv2/core.hpp>
#include <optional>

#include "core/FrameJob.h"

namespace quillmark {

struct Placement {
  cv::Point loc;      // of the template's top-left corner, in crop pixels
  double dist = 1.0;  // difference
};

// Every placement's difference, for showing what the search saw.
struct SearchMap {
  Placement best;  // what the evaluation goes on with
  // The best of the placements that are off by half the template's width or height at least, so that they
  // show another thing than `best` does. None when the region has no room for one.
  std::optional<Placement> second;
  // 32FC1, one element a placement. In mode HS of the hue alone: the saturation is compared around the best
  // placements only.
  cv::Mat difference;
};

// Whether region and template have the image that the mode compares. A mode outside the enumeration has.
[[nodiscard]] bool HasInputs(const ROIUnit& unit, const TemplateSpec& spec);

// The best placement; none when the region cannot hold the template. A mode outside the enumeration counts as
// Gray. Images of unexpected type raise cv::Exception.
[[nodiscard]] std::optional<Placement> SearchRegion(const ROIUnit& unit, const TemplateSpec& spec);

// The same search with all that it saw. Raises as SearchRegion does.
[[nodiscard]] std::optional<SearchMap> MapRegion(const ROIUnit& unit, const TemplateSpec& spec);

}  // namespace quillmark
