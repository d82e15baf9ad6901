// The work of one monitor frame: the regions cut out of it and the specs to compare them with. Made by the
// capture loop, immutable once queued, read by every task of the job.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "specs/TemplateSpec.h"

namespace quillmark {

// One region of one frame. The crops own their pixels, have the same size and are at template scale.
struct ROIUnit {
  std::int32_t specIndex = 0;  // into FrameJob::specs
  // The region in desktop pixels, cut to the target's client area and to the monitor; exclusive ends.
  std::int32_t x = 0, y = 0, right = 0, bottom = 0;
  bool clipped = false;               // by the monitor's edge; relaxes several limits
  cv::Mat gray;                       // 8UC1
  cv::Mat bgr;                        // 8UC3
  cv::Mat hsv, sat, hue;              // 8UC3, 8UC1, 8UC1; empty when no spec of the frame needs them
  double scaleX = 1.0, scaleY = 1.0;  // desktop pixels per template pixel; 0.0 counts as 1.0
};

struct FrameJob {
  std::int64_t tMs = 0;             // steady-clock milliseconds of the job's creation
  std::vector<TemplateSpec> specs;  // snapshot of the store with targets bound; indices stay valid
  std::vector<ROIUnit> units;       // in snapshot order
};

}  // namespace quillmark
