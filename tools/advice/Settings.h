// What a controller can set to change the decision: the threshold, the minimum edge correlation and the
// options in the name.
//
// Threading: pure functions.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "advice/LimitSearch.h"
#include "explain/Explanation.h"

namespace quillmark::advice {

struct Setting {
  explain::SpecRequest request;
  std::vector<std::string> changes;  // to the current spec: "--threshold 0.06"
  double difference = 0.0;           // the resulting limit
  std::optional<double> edgeMin;
  std::string remark;  // side effects; may be empty
};
// The request with limits from the middle of the ranges. A current difference in their middle half is kept.
// `from` is the spec as given.
[[nodiscard]] Setting SettingFor(const explain::SpecRequest& variant, const explain::SpecRequest& from,
                                 const LimitRanges& ranges);

// The request in every other mode, with and without `strict`; interval and monitor stay the same. Empty when
// the name has a suffix that cannot be combined.
[[nodiscard]] std::vector<explain::SpecRequest> OtherModes(const explain::SpecRequest& from);

// The spec of a request with its options, without the image.
[[nodiscard]] TemplateSpec SpecOf(const explain::SpecRequest& request);

}  // namespace quillmark::advice
