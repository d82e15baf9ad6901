// The pictures of a tuning, each decided for one or more specs by the worker's evaluation.
//
// Threading: callable from any thread.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "advice/Lint.h"
#include "core/RegionEvaluation.h"
#include "explain/Explanation.h"

namespace quillmark::advice {

struct TunePicture {
  std::wstring path;
  bool positive = false;  // shows what the spec looks for
};

struct TuneInput {
  explain::SpecRequest spec;
  bool hasRegion = false;  // the pictures show the client area, else the region alone
  double scale = 1.0;      // pixels of them for one of the template
  std::vector<TunePicture> pictures;
};

// One picture's decision for one spec.
struct Sample {
  std::size_t picture = 0;
  bool positive = false;
  std::optional<explain::Reason> reason;  // none: a hit
  Verdict verdict;                        // of every step
  std::vector<explain::Step> steps;       // of the comparison; none when it did not come to that

  [[nodiscard]] bool IsHit() const { return !reason; }
  [[nodiscard]] bool IsRight() const { return IsHit() == positive; }
};
using Samples = std::vector<Sample>;

struct UnusedPicture {
  std::size_t picture = 0;
  std::string fault;
  bool isImage = true;
};

struct Decisions {
  std::vector<Samples> bySpec;  // in the order of the specs
  std::vector<UnusedPicture> unused;
};

// Reads each picture once. The specs are prepared.
[[nodiscard]] Decisions Decide(const TuneInput& input, const std::vector<TemplateSpec>& specs,
                               const Progress& progress);

}  // namespace quillmark::advice
