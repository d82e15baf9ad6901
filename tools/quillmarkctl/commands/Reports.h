// What several commands print: findings with their remedies, and explanations.
//
// Threading: one thread.
#pragma once

#include <string>
#include <vector>

#include "advice/Lint.h"
#include "explain/Reports.h"
#include "output/Output.h"

namespace quillmark::control {

// A line below a finding, wrapped to the terminal's width.
[[nodiscard]] std::string Below(const std::string& text, std::size_t indent, const Output& output);
// The lines with a finding's effect and its fix.
[[nodiscard]] std::string EffectAndFix(const std::string& consequence, const std::string& remedy,
                                       std::size_t indent, const Output& output);

// Colours the parts of a report if the output is coloured.
[[nodiscard]] explain::Painter PainterOf(const Output& output);

// Checks the specs and prints the findings, without the ignored codes, and their counts. `window` may be
// null. True when nothing was found.
bool PrintLint(const std::vector<advice::LintSpec>& specs, const advice::WindowPicture* window,
               const std::vector<advice::FindingCode>& ignored, Output& output);

void PrintExplanations(const std::vector<explain::Explanation>& explanations, Output& output);

}  // namespace quillmark::control
