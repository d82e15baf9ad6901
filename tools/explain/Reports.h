// An explanation as text for a terminal, as a JSON object and as an HTML page.
//
// Threading: pure functions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <span>
#include <string>

#include "explain/Explanation.h"

namespace quillmark::explain {

enum class Paint : std::int32_t { Good, Bad, Quiet };
// Colours a text for the terminal, or leaves it as it is.
using Painter = std::function<std::string(Paint, const std::string&)>;

// UTF-8 lines without the last line end, wrapped at `width` characters unless that is 0. The summary comes
// last, where it is read first. Remarks that do not fit beside the table go below their rows.
[[nodiscard]] std::string TextReport(const Explanation& explanation, const Painter& painted,
                                     std::size_t width = 0);

// docs/explain.md describes the fields. Every figure reads back to the same bits.
[[nodiscard]] nlohmann::ordered_json JsonReport(const Explanation& explanation);

// A self-contained page in UTF-8, with pictures and style but no scripts or links: an article for each
// explanation, under the name of the first.
[[nodiscard]] std::string HtmlReport(std::span<const Explanation> explanations);

// {"x":N, "y":N, "w":N, "h":N}
[[nodiscard]] nlohmann::ordered_json RectJson(const cv::Rect& rect);
// "pass", "veto", "missed", "waived", "not measured".
[[nodiscard]] std::string WordOf(StepOutcome outcome);
// The same as one word: "not-measured".
[[nodiscard]] std::string IdOf(StepOutcome outcome);
// "gray", as in the option.
[[nodiscard]] std::string WordOf(MatchMode mode);
// The place in pixels of the client area.
[[nodiscard]] cv::Point InClientArea(const Explanation& explanation, const cv::Point& placement);
// A step's remark, with the rules that moved its limit.
[[nodiscard]] std::string RemarkOf(const Step& step);

}  // namespace quillmark::explain
