// Shows how a spec decides known positives and negatives, which figures separate them, and which settings
// would.
//
// Strategy: the worker's evaluation decides every picture to the last step. Limits are searched in its
// figures and proposed only if the evaluation then decides all pictures correctly. If no limits of the spec's
// own mode work, the other modes are tried. Threading: callable from any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "advice/Distribution.h"
#include "advice/Samples.h"
#include "advice/Settings.h"

namespace quillmark::advice {

// One figure over all pictures that have it.
struct FigureReport {
  std::string id, title;  // of the step
  Bound bound = Bound::AtMost;
  bool canBeSet = false;                   // whether a controller can set its limit
  bool hasSay = false;                     // whether it can reject here
  double lowLimit = 0.0, highLimit = 0.0;  // in force; different if the limit depends on the picture
  std::vector<double> positives, negatives;
  // The minimum distance of positives inside the limit, and of negatives outside; negative if one is on the
  // wrong side. None if there are none.
  std::optional<double> positiveMargin, negativeMargin;
  std::optional<Separation> separation;
};

struct Proposal {
  Setting setting;
  LimitRanges ranges;
  bool tooLong = false;  // the name does not fit its field
};

struct RejectedMode {
  std::string name;  // of the spec, with options
  std::string obstacle;
};

struct TuneReport {
  std::optional<reasons::Reason> rejectedImage;  // why the template cannot be used; then nothing else is set
  std::string remark;
  Samples samples;  // decided by the current spec
  std::vector<UnusedPicture> unused;
  std::vector<FigureReport> figures;
  bool right = false;                  // the current spec decides every picture correctly
  std::string obstacle;                // why no limits of its own mode work; empty if some do
  std::vector<Proposal> proposals;     // best first; for a spec that is right, limits with more room
  std::vector<RejectedMode> rejected;  // other modes that did not work
};

// Raises cv::Exception when memory runs out.
[[nodiscard]] TuneReport Tune(const TuneInput& input, const Progress& progress = {});

}  // namespace quillmark::advice
