// Shows how a spec decides pictures of which is known what they show, by which figures they could be told
// apart, and what settings would do it.
//
// Strategy: the worker's evaluation decides every picture to its last step; limits are sought in its figures
// and proposed only after the worker's evaluation has decided all pictures with them. Other modes are tried
// when no limits of the spec's own mode will do.
// Threading: callable from any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "advice/Distribution.h"
#include "advice/Samples.h"
#include "advice/Settings.h"

namespace quillmark::advice {

// One figure over all pictures that came to it.
struct FigureReport {
  std::string id, title, measures;  // of the step
  Bound bound = Bound::AtMost;
  bool canBeSet = false;                   // whether a controller can move its limit
  bool hasSay = false;                     // whether it can refuse here
  double lowLimit = 0.0, highLimit = 0.0;  // in force; they differ where the limit depends on the picture
  std::vector<double> positives, negatives;
  // How far inside their limits the positives lie at least, and how far outside the negatives; below 0 one of
  // them lies on the wrong side. None without any.
  std::optional<double> positiveMargin, negativeMargin;
  std::optional<Separation> separation;
};

struct Proposal {
  Setting setting;
  LimitRanges ranges;
  bool tooLong = false;  // the name has more units than its field
};

struct RejectedMode {
  std::string name;  // of the spec, with the words that choose it
  std::string obstacle;
};

struct TuneReport {
  std::optional<explain::Reason> refused;  // why the template is of no use; nothing else is set then
  std::string remark;
  Samples samples;  // decided by the spec as it is
  std::vector<UnusedPicture> unused;
  std::vector<FigureReport> figures;
  bool right = false;                  // every picture is decided right by the spec as it is
  std::string obstacle;                // why no limits of its own mode will do; empty where some do
  std::vector<Proposal> proposals;     // the surest first; for a spec that is right, limits with more room
  std::vector<RejectedMode> rejected;  // other modes that were tried in vain
};

// Raises cv::Exception for want of memory.
[[nodiscard]] TuneReport Tune(const TuneInput& input, const Progress& progress = {});

}  // namespace quillmark::advice
