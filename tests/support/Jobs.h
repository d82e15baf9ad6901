// Jobs for the engine's tasks.
//
// Threading: callable from any thread.
#pragma once

#include <cstddef>
#include <memory>
#include <opencv2/core.hpp>
#include <utility>
#include <vector>

#include "core/engine/RegionMemory.h"

namespace quillmark::testing {

// A job with this many regions of noise for one spec.
inline std::shared_ptr<FrameJob> JobOf(TemplateSpec spec, cv::Size region, std::size_t units) {
  cv::Mat noise(region, CV_8UC4);
  cv::randu(noise, 0, 256);
  auto job = std::make_shared<FrameJob>();
  job->specs = std::make_shared<const std::vector<TemplateSpec>>(1, std::move(spec));
  job->units.resize(units);
  for (ROIUnit& unit : job->units) {
    unit.look = std::make_shared<RegionLook>(std::make_shared<RegionPicture>(noise, 1.0, 1.0));
  }
  return job;
}

}  // namespace quillmark::testing
