// What programs under test write to the debugger output. Made before the programs that it is asked about.
//
// Threading: the test's main thread.
#pragma once

#include <memory>
#include <string>

#include "Programs.h"

namespace quillmark::test {

class DebuggerOutput {
 public:
  // Throws std::runtime_error when the output cannot be had.
  DebuggerOutput();
  ~DebuggerOutput();
  DebuggerOutput(const DebuggerOutput&) = delete;
  DebuggerOutput& operator=(const DebuggerOutput&) = delete;

  // The program's lines so far, UTF-8. A host may lose what its code page cannot hold: tests look for ASCII.
  std::string Of(const Program& program) const;

 private:
  struct Host;
  std::unique_ptr<Host> host;
};

}  // namespace quillmark::test
