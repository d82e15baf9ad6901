// What more than one command prints: the findings of lint and the answers of explain.
//
// Threading: one thread.
#pragma once

#include <vector>

#include "advice/Lint.h"
#include "explain/Reports.h"
#include "output/Output.h"

namespace quillmark::control {

// The colours of a report where the output has any.
[[nodiscard]] explain::Painter PainterOf(const Output& output);

// Looks over the specs, prints what it finds but for the ignored codes, and the counts at the end. `window`
// may be null. True when there is nothing left to say.
bool PrintLint(const std::vector<advice::LintSpec>& specs, const advice::WindowPicture* window,
               const std::vector<advice::FindingCode>& ignored, Output& output);

void PrintExplanations(const std::vector<explain::Explanation>& explanations, Output& output);

}  // namespace quillmark::control
