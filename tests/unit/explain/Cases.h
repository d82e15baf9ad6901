// Drawn screenshots, each with a spec: every way in which a comparison can end, and the matching pitfalls.
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
  std::string name;                // of its image file
  std::optional<Reason> expected;  // none for a hit
  cv::Mat tmpl, screen;            // BGR; the template may have an alpha channel
  std::wstring specName = L"button";
  cv::Rect roi{0, 0, 4096, 4096};  // all of the client area
  Rect client{};                   // empty: all of the screen
  float edgeMin = 0.75f;
  float threshold = -1.0f;
  double scale = 1.0;
};

// Those of docs/tuning.md, in its order.
[[nodiscard]] std::vector<Case> TuningCases();
// Those, and one for each other reason that a screenshot can show.
[[nodiscard]] std::vector<Case> AllCases();

// Explains the case, with the template in a file in `folder`.
[[nodiscard]] Explanation Explained(const Case& c, const std::string& folder);

}  // namespace quillmark::explain
