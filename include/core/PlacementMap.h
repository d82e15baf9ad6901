// What a search by squared difference found at every placement, kept for a later search of the same region
// with the same template: that one computes only the placements that touch changed pixels.
//
// Each placement has an approximate difference, good enough to tell which few may be the best, and each row
// its exact best. The best placement is always decided by exact differences.
//
// Threading: one thread at a time.
#pragma once

#include <limits>
#include <opencv2/core.hpp>
#include <span>
#include <vector>

namespace quillmark {

struct Placement {
  cv::Point loc;      // of the template's top-left corner, in crop pixels
  double dist = 1.0;  // difference
};

class PlacementMap {
 public:
  [[nodiscard]] bool Empty() const { return rows.empty(); }
  [[nodiscard]] std::size_t Bytes() const {
    return approximate.total() * approximate.elemSize() + rows.size() * sizeof(Row);
  }

 private:
  friend class DifferenceSearch;

  struct Row {
    double dist = std::numeric_limits<double>::infinity();  // the smallest difference computed exactly
    int x = 0;                                              // the first placement that has it
    float rest = std::numeric_limits<float>::infinity();    // no other approximate difference is smaller
  };

  cv::Mat tmpl;           // the search's template; keeps its pixels from being replaced
  bool normed = false;    // how the search compared
  cv::Mat approximate;    // 32FC1, the approximate difference of each placement
  std::vector<Row> rows;  // one per row of placements
};

// What a caller knows from its last search of a region.
struct KnownPlacements {
  PlacementMap* map = nullptr;        // filled by the search; empty before the first
  std::span<const cv::Rect> changed;  // the pixels that changed since `map` was filled, in crop pixels
};

}  // namespace quillmark
