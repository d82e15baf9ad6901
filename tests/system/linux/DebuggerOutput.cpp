// The layer writes it to standard error, where only the program's own lines are.
#include "DebuggerOutput.h"

namespace quillmark::test {

struct DebuggerOutput::Host {};

DebuggerOutput::DebuggerOutput() = default;
DebuggerOutput::~DebuggerOutput() = default;

std::string DebuggerOutput::Of(const Program& program) const {
  return program.Err();
}

}  // namespace quillmark::test
