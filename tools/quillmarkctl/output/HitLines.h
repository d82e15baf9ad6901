// What the tool prints for a record of the hit ring: a line of text, and one JSON object.
//
// Threading: free functions without state.
#pragma once

#include <cstdint>
#include <string>

#include "client/HitReader.h"
#include "output/Output.h"

namespace quillmark::control {

using client::Hit;

// {"type":"hit","name":…,"cx":…,"cy":…,"w":…,"h":…,"score":…,"edge":…,"ts":…}
// {"type":"reply","text":…,"ts":…}
[[nodiscard]] Json JsonOf(const Hit& hit);
// The same for reading, with the time in UTC; control characters of the name appear as '?'.
[[nodiscard]] std::string LineOf(const Hit& hit);

}  // namespace quillmark::control
