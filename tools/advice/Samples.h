// Screenshots decided for one or more specs by the worker's evaluation.
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
  bool positive = false;  // shows the object
};

struct TuneInput {
  explain::SpecRequest spec;
  bool hasRegion = false;  // the pictures show the client area, otherwise only the region
  double scale = 1.0;      // their pixels per template pixel
  std::vector<TunePicture> pictures;
};

struct Sample {
  std::size_t picture = 0;
  bool positive = false;
  std::optional<reasons::Reason> reason;  // none: a hit
  Verdict verdict;                        // of every step
  std::vector<explain::Step> steps;       // of the comparison; empty if there was none

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

// Reads each picture once. `specs` are prepared.
[[nodiscard]] Decisions Decide(const TuneInput& input, const std::vector<TemplateSpec>& specs,
                               const Progress& progress);

}  // namespace quillmark::advice
