#include "commandline/CommandModel.h"

#include <sstream>

namespace quillmark::control {

std::vector<std::string> Argument::Names() const {
  std::vector<std::string> names;
  std::istringstream parts(name);
  for (std::string part; std::getline(parts, part, ',');) names.push_back(part);
  return names;
}

std::string Argument::Value() const {
  if (std::holds_alternative<std::monostate>(place) || std::holds_alternative<bool*>(place)) return {};
  return rules.value.empty() ? "TEXT" : rules.value;
}

}  // namespace quillmark::control
