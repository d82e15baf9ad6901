#include "core/SearchBlocks.h"

#include <algorithm>
#include <limits>

#include "core/PlaneTransform.h"

namespace quillmark {
namespace {

// Measured: a forward transform and its inverse, per unit of PlaneTransform::Cost.
constexpr double kNanosecondsPerCost = 0.65;
// Fixed work of a plane's transform, and per point for filling, multiplying and rounding.
constexpr double kPerPlane = 2000.0, kPerPoint = 0.7;

int BlocksFor(int length, int block) {
  return (length + block - 1) / block;
}

}  // namespace

BlockPlan PlanTransforms(const Correlation& wanted) {
  const cv::Size placements = wanted.placements, margin(wanted.tmpl.width - 1, wanted.tmpl.height - 1);
  BlockPlan best;
  best.nanoseconds = std::numeric_limits<double>::max();
  // Blocks much smaller than the template would mostly transform what their neighbours do.
  const auto most = [](int length, int size) { return std::max(1, length / std::max(size / 2, 24)); };
  const int mostAcross = most(placements.width, wanted.tmpl.width);
  const int mostDown = most(placements.height, wanted.tmpl.height);
  for (int across = 1; across <= mostAcross; across += 1 + across / 4) {
    for (int down = 1; down <= mostDown; down += 1 + down / 4) {
      const cv::Size atLeast(BlocksFor(placements.width, across), BlocksFor(placements.height, down));
      const cv::Size padded = PlaneTransform::PaddedSize(atLeast + margin);
      const cv::Size block(std::min(padded.width - margin.width, placements.width),
                           std::min(padded.height - margin.height, placements.height));
      const double blocks = static_cast<double>(BlocksFor(placements.width, block.width)) *
                            BlocksFor(placements.height, block.height);
      const double transforms = blocks * (wanted.planes + wanted.results) +
                                (wanted.spectraKept ? 0.0 : static_cast<double>(wanted.planes));
      const double time = transforms * (kPerPlane + padded.area() * kPerPoint +
                                        0.5 * kNanosecondsPerCost * PlaneTransform::Cost(padded));
      if (time < best.nanoseconds) best = {block, padded, time};
    }
  }
  return best;
}

}  // namespace quillmark
