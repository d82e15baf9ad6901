#include "advice/Distribution.h"

#include <algorithm>
#include <cmath>
#include <ranges>

namespace quillmark::advice {

double Quantile(const std::vector<double>& sorted, double share) {
  const double place = share * static_cast<double>(sorted.size() - 1);
  const auto below = static_cast<std::size_t>(place);
  const std::size_t above = std::min(below + 1, sorted.size() - 1);
  return std::lerp(sorted[below], sorted[above], place - static_cast<double>(below));
}

Distribution DistributionOf(std::vector<double> values) {
  std::ranges::sort(values);
  return {values.size(),         values.front(),         Quantile(values, 0.25),
          Quantile(values, 0.5), Quantile(values, 0.75), values.back()};
}

std::vector<std::size_t> Histogram(const std::vector<double>& values, double low, double high,
                                   std::size_t bins) {
  std::vector<std::size_t> counts(bins);
  for (const double value : values) {
    const double share = high > low ? std::clamp((value - low) / (high - low), 0.0, 1.0) : 0.0;
    ++counts[std::min(static_cast<std::size_t>(share * static_cast<double>(bins)), bins - 1)];
  }
  return counts;
}

std::optional<Separation> Separate(const std::vector<double>& positives, const std::vector<double>& negatives,
                                   Bound bound) {
  if (positives.empty() || negatives.empty()) return std::nullopt;
  const bool atMost = bound == Bound::AtMost;
  const auto& below = atMost ? positives : negatives;
  const auto& above = atMost ? negatives : positives;
  const Separation separation{std::ranges::max(below), std::ranges::min(above)};
  if (!(separation.low < separation.high)) return std::nullopt;
  return separation;
}

double RoundLimit(const Separation& separation) {
  const double quarter = (separation.high - separation.low) / 4.0, middle = separation.Middle();
  for (double unit = 10.0; unit <= 1e6; unit *= 10.0) {
    const double rounded = std::round(middle * unit) / unit;
    if (std::abs(rounded - middle) <= quarter) return rounded;
  }
  return middle;
}

}  // namespace quillmark::advice
