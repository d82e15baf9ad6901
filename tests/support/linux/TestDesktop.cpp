#include "support/TestDesktop.h"

#include "desktop/Desktop.h"
#include "support/PrivateDisplay.h"

namespace quillmark::test {

struct TestDesktop::Host {
  PrivateDisplay display;
};

TestDesktop::TestDesktop() : host(std::make_unique<Host>()) {
  host->display.StartWindowManager();
  layer::SetDesktop(nullptr);  // the next call of the platform opens this one
}

TestDesktop::~TestDesktop() {
  layer::SetDesktop(nullptr);
}

void TestDesktop::ChangeDisplays() {
  PrivateDisplay::Run({"xrandr", "--setmonitor", "EXTRA", "100/20x100/20+900+0", "none"});
}

}  // namespace quillmark::test
