// Looks over specs before anything is watched: what in their texts, images, limits and regions will surprise.
// Whatever can be tried is tried, with the worker's own preparation and evaluation.
//
// Threading: callable from any thread.
#pragma once

#include <cstddef>
#include <functional>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "advice/FindingCodes.h"
#include "explain/Explanation.h"

namespace quillmark::advice {

// A spec, or a part of one: what is not given is not looked at.
struct LintSpec {
  explain::SpecRequest request;
  bool hasName = true, hasTarget = true, hasRegion = true;
  std::string fault{};  // why what declares it cannot be read; then there is nothing of it but the name
};
// What people call it: its name, or else its image file.
[[nodiscard]] std::string LabelOf(const LintSpec& spec);

// A screenshot of the client area of the specs' window.
struct WindowPicture {
  cv::Mat bgra;        // 8UC4, the fourth byte means nothing
  double scale = 1.0;  // pixels of it for one of the template
};

using Fact = std::pair<std::string, std::variant<double, std::string>>;

struct Finding {
  FindingCode code;
  std::size_t spec = 0;              // index of the spec concerned
  std::optional<std::size_t> other;  // index of the second one, where there is one
  std::string text;                  // what was found here, in figures; UTF-8
  std::vector<Fact> facts;           // the figures of the text
  std::string remedy{};              // in place of the code's
};

// Hears how many of how many steps are done.
using Progress = std::function<void(std::size_t done, std::size_t total)>;

// In the order of the specs, those about two specs last. `window` may be null.
[[nodiscard]] std::vector<Finding> Lint(const std::vector<LintSpec>& specs,
                                        const WindowPicture* window = nullptr, const Progress& progress = {});

}  // namespace quillmark::advice
