// One thing that the doctor looked at: what it found, what follows from it and what to do.
//
// Threading: plain values.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "output/Output.h"

namespace quillmark::control {

enum class Level { Ok, Warning, Problem };

struct Finding {
  Level level = Level::Ok;
  std::string topic;
  std::string text{};
  std::string consequence{};  // of a warning or problem
  std::string remedy{};
  std::vector<std::string> details{};  // lines below the text
  Json facts = Json::object();         // the figures of the text, for programs
};

using Findings = std::vector<Finding>;

}  // namespace quillmark::control
