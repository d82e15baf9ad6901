// Converts between logical pixels (the template's), desktop pixels and the target's client area. Right and
// bottom are exclusive.
//
// Threading: pure functions.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/core.hpp>

#include "specs/TemplateSpec.h"

namespace quillmark {

// Rounds half away from zero, and clamps to 32 bits, as the controller may send any number.
inline std::int32_t RoundToPixel(double length) {
  constexpr double kMost = 2147483647.0;
  return static_cast<std::int32_t>(std::lround(std::clamp(length, -kMost, kMost)));
}

// A stored scale of exactly 0 counts as 1.
inline double EffectiveScale(double scale) {
  return scale == 0.0 ? 1.0 : scale;
}

// A size at template scale as a size on the desktop, at least 1 x 1.
inline cv::Size SizeOnDesktop(cv::Size size, double scaleX, double scaleY) {
  return {std::max(RoundToPixel(size.width * scaleX), 1), std::max(RoundToPixel(size.height * scaleY), 1)};
}

inline bool IsEmpty(const Rect& rect) {
  return rect.right <= rect.left || rect.bottom <= rect.top;
}

inline Rect Intersect(const Rect& a, const Rect& b) {
  return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
          std::min(a.bottom, b.bottom)};
}

// The spec's region on the desktop, cut to the target's client area; empty when nothing is left.
inline Rect RegionOnDesktop(const TemplateSpec& spec) {
  const double sx = EffectiveScale(spec.targetScaleX);
  const double sy = EffectiveScale(spec.targetScaleY);
  const cv::Size size = SizeOnDesktop(spec.roi.size(), sx, sy);
  // The controller may send any number: sums in 64 bits cannot overflow.
  const auto clamped = [](std::int64_t value, std::int32_t low, std::int32_t high) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, low, std::max(low, high)));
  };
  const Rect& target = spec.targetRect;
  const std::int64_t left = std::int64_t{target.left} + RoundToPixel(spec.roi.x * sx);
  const std::int64_t top = std::int64_t{target.top} + RoundToPixel(spec.roi.y * sy);
  return {clamped(left, target.left, target.right), clamped(top, target.top, target.bottom),
          clamped(left + size.width, target.left, target.right),
          clamped(top + size.height, target.top, target.bottom)};
}

// A hit's centre relative to the client area, clamped as if it were the hit's top-left corner: controllers
// rely on that.
inline cv::Point RelativeToTarget(cv::Point centre, cv::Size hit, const Rect& target) {
  const int width = target.right - target.left;
  const int height = target.bottom - target.top;
  cv::Point relative(centre.x - target.left, centre.y - target.top);
  if (width > 0 && height > 0) {
    relative.x = std::clamp(relative.x, 0, std::max(width - hit.width, 0));
    relative.y = std::clamp(relative.y, 0, std::max(height - hit.height, 0));
  }
  return relative;
}

// Deduplication window of a spec's hits in milliseconds; 0 means the sender's default.
inline std::uint64_t DedupWindowMs(const TemplateSpec& spec) {
  if (spec.intervalMs <= 0) return 0;
  return static_cast<std::uint64_t>(std::max(static_cast<int>(spec.intervalMs * 0.6), 1));
}

}  // namespace quillmark
