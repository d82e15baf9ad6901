// The work of one monitor frame: the regions to look at and the specs to compare them with. Made by the
// capture loop; the tasks of the job read it.
#pragma once

#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <vector>

#include "specs/TemplateSpec.h"

namespace quillmark {

struct RegionLook;

// The planes of a region, at template scale and of one size; the ones that nobody needs are empty.
struct Planes {
  cv::Mat gray;           // 8UC1
  cv::Mat bgr;            // 8UC3
  cv::Mat hsv, sat, hue;  // 8UC3, 8UC1, 8UC1
};

// One region of one frame.
struct ROIUnit : Planes {
  std::int32_t specIndex = 0;  // into FrameJob::specs
  // The region in desktop pixels, cut to the target's client area and to the monitor; exclusive ends.
  std::int32_t x = 0, y = 0, right = 0, bottom = 0;
  bool clipped = false;               // by the monitor's edge; relaxes several limits
  double scaleX = 1.0, scaleY = 1.0;  // desktop pixels per template pixel; 0.0 counts as 1.0
  // In a job: what the region showed, and its verdict once there is one. The planes are made of it by the
  // task.
  std::shared_ptr<RegionLook> look;
};

// A list of specs that is shared, not copied.
using SpecList = std::shared_ptr<const std::vector<TemplateSpec>>;

struct FrameJob {
  std::int64_t tMs = 0;        // steady-clock milliseconds of the job's creation
  SpecList specs;              // snapshot of the store with targets bound; indices stay valid
  std::vector<ROIUnit> units;  // in snapshot order

  [[nodiscard]] const TemplateSpec& SpecOf(const ROIUnit& unit) const { return (*specs)[unit.specIndex]; }
};

}  // namespace quillmark
