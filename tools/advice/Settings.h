// What a controller can set to move the worker's decision: the threshold, the least edge correlation and the
// words of the name.
//
// Threading: pure functions.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "advice/LimitSearch.h"
#include "explain/Explanation.h"

namespace quillmark::advice {

// One way to set up the spec.
struct Setting {
  explain::SpecRequest request;
  std::vector<std::string> changes;  // against the spec as it is: "--threshold 0.06"
  double difference = 0.0;           // the limit it brings
  std::optional<double> edgeMin;
  std::string remark;  // what else comes with it; may be empty
};
// The request with limits from the middle of the ranges; a difference in force that lies in their middle half
// stays. `from` is the spec as it was given.
[[nodiscard]] Setting SettingFor(const explain::SpecRequest& variant, const explain::SpecRequest& from,
                                 const LimitRanges& ranges);

// The request in every other mode, with and without the colour gate of `strict`; its interval and monitor
// stay. None when its name has a suffix that goes with nothing else.
[[nodiscard]] std::vector<explain::SpecRequest> OtherModes(const explain::SpecRequest& from);

// The spec of a request, with its options, without its image.
[[nodiscard]] TemplateSpec SpecOf(const explain::SpecRequest& request);

}  // namespace quillmark::advice
