// A tuning as one JSON object; docs/tune.md describes its fields.
//
// Threading: pure function.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "advice/Tune.h"

namespace quillmark::advice {

// `files` names the input's pictures, in their order.
[[nodiscard]] nlohmann::ordered_json TuneJson(const TuneReport& report,
                                              const std::vector<std::string>& files);

}  // namespace quillmark::advice
