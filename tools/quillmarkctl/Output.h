// What the tool prints for a record of the hit ring: a line of text, or one JSON object a line.
//
// Threading: free functions without state.
#pragma once

#include <cstdint>
#include <string>

#include "HitReader.h"

namespace quillmark::control {

// {"type":"hit","name":…,"cx":…,"cy":…,"w":…,"h":…,"score":…,"edge":…,"ts":…}
// {"type":"reply","text":…,"ts":…}
[[nodiscard]] std::string JsonLine(const Hit& hit);
// The same for reading, with the time in UTC; control characters of the name appear as '?'.
[[nodiscard]] std::string TextLine(const Hit& hit);

// {"type":"dropped","count":…,"total":…}: hits that the worker had to refuse since the last such line.
[[nodiscard]] std::string DroppedJsonLine(std::uint32_t count, std::uint32_t total);

}  // namespace quillmark::control
