// From pictures that were decided to the limits that tell them apart: which ones a controller could set so
// that one spec accepts all positives and none of the negatives.
//
// Threading: pure functions.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "advice/Distribution.h"
#include "advice/Samples.h"

namespace quillmark::advice {

// Limits of one spec that accept all positives and none of the negatives.
struct LimitRanges {
  Separation difference;              // of the largest difference, by threshold, score or sq=
  bool bounded = true;                // whether a negative bounds it from above
  double inForce = 0.0;               // the spec's own
  std::optional<Separation> edgeMin;  // of the least edge correlation; none: as it is
};

// Either ranges, or in one sentence why no limits tell the pictures apart.
struct LimitSearch {
  std::optional<LimitRanges> ranges;
  std::string obstacle;
};
// `samples` are of `spec`, some of them positive and some not.
[[nodiscard]] LimitSearch FindLimits(const Samples& samples, const TemplateSpec& spec);

// Whether a spec can set the gate's limit.
[[nodiscard]] bool CanBeSet(std::string_view gate);

}  // namespace quillmark::advice
