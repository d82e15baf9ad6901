// Why one spec would be reported on one picture, or not: the steps in the order of the decision, each with
// its figure beside the limit that was really used, the reason, and what would change the answer.
//
// Threading: plain values.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "core/PrimarySearch.h"
#include "core/RegionCut.h"
#include "core/RegionEvaluation.h"
#include "reasons/Reasons.h"
#include "specs/TemplateSpec.h"

namespace quillmark::explain {

enum class StepOutcome : std::int32_t {
  Passed,
  Vetoed,
  Missed,       // beyond its limit, but no veto: another test of the same kind agrees
  Waived,       // measured, but without a say for this spec or region
  NotMeasured,  // not asked for here, or cannot be told from one picture
};

struct Step {
  std::string id;        // lower case, words joined by '-'; the reason's code where it can veto
  std::string title;     // for people
  std::string measures;  // what the figure is
  StepOutcome outcome = StepOutcome::NotMeasured;
  std::optional<Reason> reason;    // of a veto
  std::optional<GateResult> gate;  // measured
  std::string remark;              // why there is no figure or no say, or what else was seen
};

// A change with which the same picture would be a hit; each was tried on it.
struct Remedy {
  std::string change;  // "sq=0.22"
  std::string text;    // a sentence about it
};

// A spec as the controller sends it; texts in UTF-16.
struct SpecRequest {
  std::wstring target, name, path;
  cv::Rect roi;
  float edgeMin = 0.75f;
  float threshold = -1.0f;  // outside 0 to 1: the worker's own limits
};

// A picture of the screen or of a part of it.
struct Picture {
  cv::Mat bgra;      // 8UC4, the fourth byte means nothing
  cv::Point origin;  // of its top-left corner, in desktop pixels
};

// What the evaluation looked at and saw.
struct Sight {
  Picture picture;
  RegionOnFrame place;
  ROIUnit unit;
  Verdict verdict;               // of every step
  std::optional<SearchMap> map;  // none when the region cannot hold the template
};

struct Explanation {
  SpecRequest request;
  TemplateSpec spec;             // what the worker makes of it, as far as it was prepared and bound
  std::optional<Reason> reason;  // none: a hit
  std::vector<Step> steps;
  std::string sentence;
  std::vector<Remedy> remedies;
  std::optional<Sight> sight;  // none when it ended before the comparison

  [[nodiscard]] bool IsHit() const { return !reason; }
};

}  // namespace quillmark::explain
