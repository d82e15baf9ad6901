// Explanations as one page that needs nothing else: pictures and style are inside it, scripts and links to
// elsewhere there are none.
//
// Threading: pure function.
#pragma once

#include <span>
#include <string>

#include "explain/Explanation.h"

namespace quillmark::explain {

// UTF-8. One article each; the first one's spec gives the title.
[[nodiscard]] std::string HtmlReport(std::span<const Explanation> explanations);

}  // namespace quillmark::explain
