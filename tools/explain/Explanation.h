// Why a spec would be reported on a screenshot, or not: the steps in the order of the decision, each with its
// figure and the limit in force, the reason, and changes that would make it a hit.
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

using reasons::Reason;

enum class StepOutcome : std::int32_t {
  Passed,
  Vetoed,
  Missed,       // beyond its limit, but no veto, since another colour check may pass
  Waived,       // measured, but does not count for this spec or region
  NotMeasured,  // not used by this spec, or cannot be seen in one screenshot
};

struct Step {
  std::string id;        // lower case, words joined by '-'; the reason's code where it can veto
  std::string title;     // for people
  std::string measures;  // what the figure is
  StepOutcome outcome = StepOutcome::NotMeasured;
  std::string remark{};              // why it was not measured or does not count, or details
  std::optional<Reason> reason{};    // of a veto
  std::optional<GateResult> gate{};  // measured
};

// A change to the spec that makes the screenshot a hit, tried on it.
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

struct Picture {
  cv::Mat bgra;      // 8UC4; the fourth channel is ignored
  cv::Point origin;  // of its top-left corner, in desktop pixels

  [[nodiscard]] Rect Area() const { return {origin.x, origin.y, origin.x + bgra.cols, origin.y + bgra.rows}; }
};

// What was evaluated, and the result.
struct Sight {
  Picture picture;
  RegionOnFrame place;
  ROIUnit unit;
  Verdict verdict;               // of every step
  std::optional<SearchMap> map;  // none when the template does not fit into the region
};

struct Explanation {
  SpecRequest request;
  TemplateSpec spec;             // what the worker makes of it, as far as prepared and bound
  std::optional<Reason> reason;  // none: a hit
  std::vector<Step> steps;
  std::string sentence;
  std::vector<Remedy> remedies;
  std::optional<Sight> sight;  // none when the comparison never began

  [[nodiscard]] bool IsHit() const { return !reason; }
};

}  // namespace quillmark::explain
