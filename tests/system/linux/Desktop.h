// Where programs under test show their message boxes, a private desktop, and where the layer sends their
// debugger output, standard error.
//
// Threading: the test's main thread, before it starts others.
#pragma once

#include <stdlib.h>

#include <string>

#include "Apps.h"
#include "Programs.h"
#include "support/PrivateDisplay.h"

namespace quillmark::test {

// Leaves this process and those it starts without a display.
inline void LeaveDisplay() {
  ::unsetenv("DISPLAY");
}

class Desktop {
 public:
  Desktop() { display.StartWindowManager(); }

  bool ShowsBox(const std::string& title) const { return !BoxOf(title).empty(); }
  // Closes the box with the Return key.
  void ConfirmBox(const std::string& title) const {
    PrivateDisplay::Run({"xdotool", "windowfocus", "--sync", BoxOf(title), "key", "Return"});
  }

 private:
  static std::string BoxOf(const std::string& title) {
    return Shell("xdotool search --onlyvisible --name '^" + title + "$'");
  }

  PrivateDisplay display;
};

class DebuggerOutput {
 public:
  DebuggerOutput() {}
  std::string Of(const Program& program) const { return program.Err(); }
};

}  // namespace quillmark::test
