// How a search for a template goes through its placements: in blocks small enough for the processor's cache,
// each with products computed directly or by transforms, whatever is estimated to take less time.
//
// Threading: pure functions, callable from any thread at the same time.
#pragma once

#include <opencv2/core.hpp>

namespace quillmark {

// Directly searched blocks are at most this wide, so that their rows stay in the cache.
inline constexpr int kDirectWidth = 512;

// Estimated times are in nanoseconds on one common desktop processor; only their ratios matter.
struct BlockPlan {
  cv::Size block;   // placements a block
  cv::Size padded;  // of its transforms; empty when the products are computed directly
  double nanoseconds = 0.0;
};

// What has to be correlated: `planes` are transformed and `results` transformed back per block.
struct Correlation {
  cv::Size placements, tmpl;
  int planes = 1, results = 1;
  bool spectraKept = false;  // the template's spectra are probably known
};

// The cheapest plan by transforms.
[[nodiscard]] BlockPlan PlanTransforms(const Correlation& wanted);

// The area's blocks, row by row. `visit` is called with each block's rectangle of placements.
template <typename Visit>
void ForEachBlock(const cv::Rect& area, cv::Size block, const Visit& visit) {
  for (int y = area.y; y < area.br().y; y += block.height) {
    for (int x = area.x; x < area.br().x; x += block.width) {
      visit(cv::Rect(x, y, block.width, block.height) & area);
    }
  }
}

// The pixels that the templates at `placements` cover.
[[nodiscard]] inline cv::Rect PixelsUnder(const cv::Rect& placements, cv::Size tmpl) {
  return {placements.x, placements.y, placements.width + tmpl.width - 1, placements.height + tmpl.height - 1};
}

}  // namespace quillmark
