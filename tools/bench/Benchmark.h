// How long the worker's own work on specs takes on this machine: the frame's conversion, the template's
// preparation, the region's cut and each step of the decision.
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

namespace quillmark::control {

// Of one step, in microseconds.
struct Spread {
  std::string step;
  double median = 0.0, p90 = 0.0;
};

struct Measured {
  std::string name;
  TemplateSpec spec;
  RegionOnFrame place{};
  std::optional<explain::Reason> reason{};  // of no hit
  std::vector<Spread> steps{};  // the template's preparation; where it is compared the rest, and the whole

  [[nodiscard]] bool Compared() const { return steps.size() > 1; }
};

// Brings the specs to a screenshot of the client area, `scale` of whose pixels make one of the template.
// Without one, to a screen of their own that holds all regions. Raises std::runtime_error for an image that
// the worker refuses.
[[nodiscard]] std::vector<Measured> PrepareToMeasure(const std::vector<advice::LintSpec>& given,
                                                     const cv::Mat& screenshot, double scale);

struct Benchmark {
  cv::Size screen;
  bool needsHsv = false;
  Spread convert;  // of a frame
};
// How long MeasureSpecs takes about.
[[nodiscard]] double MeasuringSeconds(const std::vector<Measured>& specs, double seconds);
// Measures each spec for so many seconds; `tick` is called again and again.
Benchmark MeasureSpecs(std::vector<Measured>& specs, const cv::Mat& screenshot, double seconds,
                       const std::function<void()>& tick);

}  // namespace quillmark::control
