// What programs under test write to the debugger output, which the layer sends to standard error.
//
// Threading: the test's main thread.
#pragma once

#include <string>

#include "Programs.h"

namespace quillmark::test {

class DebuggerOutput {
 public:
  DebuggerOutput() {}
  std::string Of(const Program& program) const { return program.Err(); }
};

}  // namespace quillmark::test
