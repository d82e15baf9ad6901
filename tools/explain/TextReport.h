// An explanation as text for a terminal: what was looked at, the table of steps, and at the end, where it is
// read first, the sentence and what would change the answer.
//
// Threading: pure function.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "explain/Explanation.h"

namespace quillmark::explain {

enum class Paint : std::int32_t { Good, Bad, Quiet };
// Gives a text its colour on the terminal, or leaves it as it is.
using Painter = std::function<std::string(Paint, const std::string&)>;

// UTF-8, in lines without the last one's end, broken to `width` characters unless that is 0. Where the table
// leaves its remarks too little of that, they stand below their rows.
[[nodiscard]] std::string TextReport(const Explanation& explanation, const Painter& painted,
                                     std::size_t width = 0);

// As reports name them: "pass", "veto", "missed", "waived", "not measured".
[[nodiscard]] std::string WordOf(StepOutcome outcome);
// "gray", as the option word has it.
[[nodiscard]] std::string WordOf(MatchMode mode);
// Of a placement, in pixels of the client area.
[[nodiscard]] cv::Point InClientArea(const Explanation& explanation, const cv::Point& placement);
// A step's remark, with the rules that moved its limit.
[[nodiscard]] std::string RemarkOf(const Step& step);

}  // namespace quillmark::explain
