// A record of the hit ring as the tool prints it: a line of text and a JSON object.
//
// Threading: free functions without state.
#pragma once

#include <string>

#include "client/Record.h"
#include "output/Output.h"

namespace quillmark::control {

using client::Record;

// {"type":"hit","name":…,"cx":…,"cy":…,"w":…,"h":…,"score":…,"edge":…,"ts":…}
// {"type":"reply","text":…,"ts":…}
[[nodiscard]] Json JsonOf(const Record& hit);
// Its name for a terminal: control characters become '?'.
[[nodiscard]] std::string ShownName(const Record& hit);
// The record as a line of text, with the time in UTC.
[[nodiscard]] std::string LineOf(const Record& hit);

}  // namespace quillmark::control
