// A tuning as text for a terminal and as a JSON object; docs/tune.md describes both.
//
// Threading: pure functions.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "advice/Tune.h"
#include "explain/Reports.h"

namespace quillmark::advice {

// UTF-8 lines without the last line end, with sentences wrapped at `width` characters unless that is 0.
// `files` are the names of the input's pictures, in order.
[[nodiscard]] std::string TuneText(const TuneReport& report, const std::vector<std::string>& files,
                                   const explain::Painter& painted, std::size_t width = 0);
[[nodiscard]] nlohmann::ordered_json TuneJson(const TuneReport& report,
                                              const std::vector<std::string>& files);

}  // namespace quillmark::advice
