// A small set of drawn pictures, each with the spec that looks for something in it: every way in which a
// comparison can end, and the rules that surprise.
//
// Threading: constant data.
#pragma once

#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "explain/Explanation.h"

namespace quillmark::explain {

struct Case {
  std::string name;                // of its files
  std::optional<Reason> expected;  // none for a hit
  cv::Mat tmpl, screen;            // BGR; the template may have an alpha channel
  std::wstring specName = L"button";
  cv::Rect roi{0, 0, 4096, 4096};  // as a rule all of the client area
  Rect client{};                   // as a rule all of the screen
  float edgeMin = 0.75f;
  float threshold = -1.0f;
  double scale = 1.0;
};

[[nodiscard]] std::vector<Case> AllCases();
// The pictures of docs/tuning.md, in its order.
[[nodiscard]] std::vector<Case> TuningCases();

// Explains the case by way of a template file in `folder`.
[[nodiscard]] Explanation Explained(const Case& c, const std::string& folder);

}  // namespace quillmark::explain
