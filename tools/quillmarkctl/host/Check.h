// The results of the checks of host and doctor.
//
// Threading: plain values.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace quillmark::control::host {

enum class Level { Ok, Warning, Problem };

// What was found, its consequence and the remedy.
struct Check {
  Level level = Level::Ok;
  std::string topic;
  std::string text{};
  std::string consequence{};  // of a warning or problem
  std::string remedy{};
  std::vector<std::string> details{};                               // lines below the text
  nlohmann::ordered_json facts = nlohmann::ordered_json::object();  // the figures in the text, for programs
};
using Checks = std::vector<Check>;

}  // namespace quillmark::control::host
