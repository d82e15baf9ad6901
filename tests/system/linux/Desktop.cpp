#include "Desktop.h"

#include <stdlib.h>

#include "linux/Shell.h"
#include "support/PrivateDisplay.h"

namespace quillmark::test {

void LeaveDisplay() {
  ::unsetenv("DISPLAY");
}

struct Desktop::Host {
  PrivateDisplay display;
};

namespace {

std::string WindowOf(const std::string& title) {
  return Shell("xdotool search --onlyvisible --name '^" + title + "$'");
}

}  // namespace

Desktop::Desktop() : host(std::make_unique<Host>()) {
  host->display.StartWindowManager();
}

Desktop::~Desktop() = default;

bool Desktop::ShowsBox(const std::string& title) const {
  return !WindowOf(title).empty();
}

void Desktop::ConfirmBox(const std::string& title) const {
  PrivateDisplay::Run({"xdotool", "windowfocus", "--sync", WindowOf(title), "key", "Return"});
}

}  // namespace quillmark::test
