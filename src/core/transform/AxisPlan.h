// The one-dimensional transform of a length, prepared: the radices of its stages, their twiddle factors, and
// where they leave each frequency. A length has no prime factor above 5.
//
// Threading: immutable after construction.
#pragma once

#include <vector>

#include "core/transform/Passes.h"

namespace quillmark::transform {

[[nodiscard]] bool HasTransform(int length);

// The relative time that an element takes, both ways.
[[nodiscard]] double ElementCost(int length);

class AxisPlan {
 public:
  explicit AxisPlan(int length);
  // Refers to the plan.
  [[nodiscard]] Axis View() const;

 private:
  std::vector<std::vector<double>> twiddles_;
  std::vector<Stage> stages_;
  std::vector<int> positions_;
};

}  // namespace quillmark::transform
