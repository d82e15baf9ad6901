// Measures the worker's work on specs: preparing the template, cutting the region out of a frame and each
// step of the decision.
//
// Threading: one thread.
#pragma once

#include <functional>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "advice/Lint.h"
#include "core/RegionCut.h"
#include "reasons/Reasons.h"

namespace quillmark::bench {

// A step's time in microseconds.
struct Spread {
  std::string step;
  double median = 0.0, p90 = 0.0;
};

struct Measured {
  std::string name;
  TemplateSpec spec;
  RegionOnFrame place{};
  std::optional<reasons::Reason> reason{};  // none: a hit
  std::vector<Spread> steps{};              // "prepare"; if compared, also the others and "whole"

  [[nodiscard]] bool Compared() const { return steps.size() > 1; }
};

// Binds the specs to a screenshot of the client area with `scale` pixels per template pixel or, if that is
// empty, to a plain screen with room for all regions. Raises std::runtime_error for an image that the worker
// rejects.
[[nodiscard]] std::vector<Measured> PrepareToMeasure(const std::vector<advice::LintSpec>& given,
                                                     const cv::Mat& screenshot, double scale);

// How long MeasureSpecs will take, roughly.
[[nodiscard]] double MeasuringSeconds(const std::vector<Measured>& specs, double seconds);
// Measures each spec for this many seconds; calls `tick` after each round. Returns the size of the screen.
cv::Size MeasureSpecs(std::vector<Measured>& specs, const cv::Mat& screenshot, double seconds,
                      const std::function<void()>& tick);

}  // namespace quillmark::bench
