// Searches limits that a controller can set so that a spec accepts all positives and no negatives.
//
// Threading: pure functions.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "advice/Distribution.h"
#include "advice/Samples.h"

namespace quillmark::advice {

struct LimitRanges {
  Separation difference;              // of the maximum difference, set by threshold, score or sq=
  bool bounded = true;                // whether a negative bounds it from above
  double inForce = 0.0;               // the spec's current one
  std::optional<Separation> edgeMin;  // of the minimum edge correlation; none: keep it
};

// Either ranges, or why no limits separate the screenshots.
struct LimitSearch {
  std::optional<LimitRanges> ranges;
  std::string obstacle;
};
// `samples` were decided with `spec`; some are positive, some not.
[[nodiscard]] LimitSearch FindLimits(const Samples& samples, const TemplateSpec& spec);

// Whether a spec can set the gate's limit.
[[nodiscard]] bool CanBeSet(std::string_view gate);

}  // namespace quillmark::advice
