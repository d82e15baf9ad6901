// Sets an environment variable while it exists.
//
// Threading: made and destroyed while no other thread runs.
#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace quillmark::test {

class Variable {
 public:
  Variable(const char* variable, const std::string& value) : name(variable) {
    if (const char* outer = std::getenv(name)) before = outer;
    ::setenv(name, value.c_str(), 1);
  }
  ~Variable() { before ? ::setenv(name, before->c_str(), 1) : ::unsetenv(name); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const char* const name;
  std::optional<std::string> before;
};

}  // namespace quillmark::test
