#include "core/SearchBlocks.h"

#include <algorithm>
#include <limits>

#include "core/PlaneTransform.h"

namespace quillmark {
namespace {

// Fixed work of a plane's transform, and the work per point for filling, multiplying and rounding.
constexpr double kPerPlane = 800.0, kPerPoint = 0.4;

// A transform there or back.
double NanosecondsOf(cv::Size padded) {
  static const double perCost = PlaneTransform::Fastest() == PlaneTransform::Instructions::Avx2 ? 0.15 : 0.28;
  // From 150,000 points on, spectra and planes leave the cache.
  const double crowded = std::clamp((padded.area() - 150e3) / 300e3, 0.0, 4.0);
  return kPerPlane + padded.area() * kPerPoint + perCost * (1.0 + crowded) * PlaneTransform::Cost(padded);
}

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
      const cv::Size padded(cv::getOptimalDFTSize(atLeast.width + margin.width),
                            cv::getOptimalDFTSize(atLeast.height + margin.height));  // faster than PaddedSize
      const cv::Size block(std::min(padded.width - margin.width, placements.width),
                           std::min(padded.height - margin.height, placements.height));
      const double blocks = static_cast<double>(BlocksFor(placements.width, block.width)) *
                            BlocksFor(placements.height, block.height);
      const double transforms = blocks * (wanted.planes + wanted.results) +
                                (wanted.spectraKept ? 0.0 : static_cast<double>(wanted.planes));
      const double time = transforms * NanosecondsOf(padded);
      if (time < best.nanoseconds) best = {block, padded, time};
    }
  }
  return best;
}

}  // namespace quillmark
