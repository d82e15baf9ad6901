// The first step of an evaluation: searches the region for the placement with the smallest difference from
// the template, in the planes that the spec's mode compares. A perfect match has a difference of 0.
//
// Threading: pure functions of their arguments, callable from any thread at the same time.
#pragma once

#include <opencv2/core.hpp>
#include <optional>

#include "core/FrameJob.h"
#include "core/PlacementMap.h"

namespace quillmark {

// Every placement's difference, to show what the search saw.
struct SearchMap {
  Placement best;  // the one that is evaluated
  // The best placement at least half the template's width or height away from `best`, if there is room for
  // one.
  std::optional<Placement> second;
  // 32FC1, one element per placement, within 1e-6. In mode HS by hue alone: saturation is compared near these
  // two only.
  cv::Mat difference;
};

// Whether region and template have the images that the mode needs. True for a mode outside the enumeration.
[[nodiscard]] bool HasInputs(const ROIUnit& unit, const TemplateSpec& spec);

// The best placement; none when the region cannot hold the template. A mode outside the enumeration counts as
// Gray. Raises cv::Exception for images of unexpected type. With the map of an earlier search of this region
// by this spec, only the placements that touch a change are searched, for the same result; the hue modes
// search all and leave the map empty. A map that does not fit the search is replaced.
[[nodiscard]] std::optional<Placement> SearchRegion(const ROIUnit& unit, const TemplateSpec& spec,
                                                    const KnownPlacements& known = {});

// The same search with every placement's difference.
[[nodiscard]] std::optional<SearchMap> MapRegion(const ROIUnit& unit, const TemplateSpec& spec);

}  // namespace quillmark
