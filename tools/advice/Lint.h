// Checks the texts, images, limits and regions of specs for problems, where possible by trying them with the
// worker's own preparation and evaluation.
//
// Threading: callable from any thread.
#pragma once

#include <cstddef>
#include <functional>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "advice/FindingCodes.h"
#include "explain/Explanation.h"

namespace quillmark::advice {

// A spec, or part of one: missing parts are not checked.
struct LintSpec {
  explain::SpecRequest request;
  bool hasName = true, hasTarget = true, hasRegion = true;
  std::string fault{};  // why its declaration is invalid; then only the name is set
};
// Its name, or else its image file.
[[nodiscard]] std::string LabelOf(const LintSpec& spec);

// A screenshot of the client area.
struct WindowPicture {
  cv::Mat bgra;        // 8UC4; the fourth channel is ignored
  double scale = 1.0;  // its pixels per template pixel
};

struct Fact {
  std::string name;
  std::variant<double, std::string> value;

  Fact(std::string what, std::string text) : name(std::move(what)), value(std::move(text)) {}
  template <typename Number>
  requires std::is_arithmetic_v<Number> Fact(std::string what, Number number)
      : name(std::move(what)), value(static_cast<double>(number)) {}
};

struct Finding {
  FindingCode code;
  std::size_t spec = 0;              // its index
  std::optional<std::size_t> other;  // index of the second spec, if any
  std::string text;                  // the finding in figures; UTF-8
  std::vector<Fact> facts;           // the figures of the text
  std::string remedy{};              // replaces the code's
};

// Called with the number of steps done.
using Progress = std::function<void(std::size_t done, std::size_t total)>;

// In the order of the specs; findings about two specs come last. `window` may be null.
[[nodiscard]] std::vector<Finding> Lint(const std::vector<LintSpec>& specs,
                                        const WindowPicture* window = nullptr, const Progress& progress = {});

}  // namespace quillmark::advice
