#include "support/TestDesktop.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "desktop/Desktop.h"
#include "support/PrivateDisplay.h"

namespace quillmark::test {

struct TestDesktop::Host {
  PrivateDisplay display;
  bool extra = false;  // whether there is a second monitor
};

TestDesktop::TestDesktop() : host(std::make_unique<Host>()) {
  host->display.StartWindowManager();
  layer::SetDesktop(nullptr);  // the next call opens this display
}

TestDesktop::~TestDesktop() {
  layer::SetDesktop(nullptr);
}

void TestDesktop::ChangeDisplays() {
  // In turn, since creating an existing monitor fails.
  const std::vector<std::string> make{"xrandr", "--setmonitor", "EXTRA", "100/20x100/20+900+0", "none"};
  const std::vector<std::string> remove{"xrandr", "--delmonitor", "EXTRA"};
  if (!PrivateDisplay::Run(host->extra ? remove : make)) throw std::runtime_error("xrandr failed");
  host->extra = !host->extra;
}

}  // namespace quillmark::test
