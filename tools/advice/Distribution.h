// How the values of a figure are distributed, and which limit separates two sets of them.
//
// Threading: pure functions.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "core/Gate.h"

namespace quillmark::advice {

// Quartiles are interpolated linearly between neighbouring values.
struct Distribution {
  std::size_t count = 0;
  double min = 0.0, q1 = 0.0, median = 0.0, q3 = 0.0, max = 0.0;
};
// The value with this share of the sorted values below it, interpolated. Needs at least one value.
[[nodiscard]] double Quantile(const std::vector<double>& sorted, double share);
// Needs at least one value; any order.
[[nodiscard]] Distribution DistributionOf(std::vector<double> values);

// The number of values in each of `bins` equal parts from `low` to `high`, both ends included.
[[nodiscard]] std::vector<std::size_t> Histogram(const std::vector<double>& values, double low, double high,
                                                 std::size_t bins);

// The limits that separate two sets: those above `low` and below `high`.
struct Separation {
  double low = 0.0, high = 0.0;

  [[nodiscard]] double Middle() const { return (low + high) / 2.0; }
  // The distance from the middle to the nearest value of either set.
  [[nodiscard]] double Margin() const { return (high - low) / 2.0; }
};
// None if the sets overlap or touch, or one is empty.
[[nodiscard]] std::optional<Separation> Separate(const std::vector<double>& positives,
                                                 const std::vector<double>& negatives, Bound bound);

// A limit with few decimals in the middle half of the separation.
[[nodiscard]] double RoundLimit(const Separation& separation);

}  // namespace quillmark::advice
