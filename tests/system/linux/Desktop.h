// The desktop where programs under test show their message boxes: a private one.
//
// Threading: the test's main thread, before it starts others.
#pragma once

#include <stdlib.h>

#include <string>

#include "linux/Shell.h"
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

}  // namespace quillmark::test
