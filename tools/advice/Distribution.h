// What many values of one figure look like, and which limit tells two such sets apart.
//
// Threading: pure functions.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "core/Gate.h"

namespace quillmark::advice {

// Quartiles as by linear interpolation between neighbouring values.
struct Distribution {
  std::size_t count = 0;
  double min = 0.0, q1 = 0.0, median = 0.0, q3 = 0.0, max = 0.0;
};
// The value below which this share of at least one sorted value lies, likewise.
[[nodiscard]] double Quantile(const std::vector<double>& sorted, double share);
// Of at least one value, in any order.
[[nodiscard]] Distribution DistributionOf(std::vector<double> values);

// How many of the values lie in each of `bins` equal parts from `low` to `high`; the ends belong to the first
// and the last part.
[[nodiscard]] std::vector<std::size_t> Histogram(const std::vector<double>& values, double low, double high,
                                                 std::size_t bins);

// The limits that accept all of one set and none of the other: those above `low` and below `high`.
struct Separation {
  double low = 0.0, high = 0.0;

  [[nodiscard]] double Middle() const { return (low + high) / 2.0; }
  // The distance from the middle to the nearest value of either set.
  [[nodiscard]] double Margin() const { return (high - low) / 2.0; }
};
// None when the sets overlap, touch, or one is empty.
[[nodiscard]] std::optional<Separation> Separate(const std::vector<double>& positives,
                                                 const std::vector<double>& negatives, Bound bound);

// A limit with few decimals, in the middle half of the separation.
[[nodiscard]] double RoundLimit(const Separation& separation);

}  // namespace quillmark::advice
