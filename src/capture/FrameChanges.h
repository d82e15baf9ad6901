// Where a monitor's frame differs from the one that its duplication delivered before.
//
// Threading: a value.
#pragma once

#include <cstddef>
#include <opencv2/core.hpp>
#include <vector>

namespace quillmark {

struct FrameChanges {
  // More count as unknown: comparing pixels is cheaper than so many rectangles.
  static constexpr std::size_t MaxRects = 256;

  bool known = false;  // if not, any pixel may differ
  // What may differ, in pixels of the upright frame, not empty and within it; they may overlap. None unless
  // known.
  std::vector<cv::Rect> rects;
};

}  // namespace quillmark
