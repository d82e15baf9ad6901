// A tuning as text for a terminal: what was decided, every figure with its distributions, what would do.
//
// Threading: pure function.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "advice/Tune.h"
#include "explain/Reports.h"

namespace quillmark::advice {

// UTF-8, in lines without the last one's end, its sentences broken to `width` characters unless that is 0.
// `files` names the input's pictures, in their order.
[[nodiscard]] std::string TuneText(const TuneReport& report, const std::vector<std::string>& files,
                                   const explain::Painter& painted, std::size_t width = 0);

}  // namespace quillmark::advice
