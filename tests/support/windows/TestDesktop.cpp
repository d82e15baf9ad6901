// The desktop of the login, which other programs may use too.
#include "support/TestDesktop.h"

#include "support/windows/Turn.h"

namespace quillmark::test {

struct TestDesktop::Host {
  Turn turn;
};

TestDesktop::TestDesktop() : host(std::make_unique<Host>()) {}

TestDesktop::~TestDesktop() = default;

void TestDesktop::ChangeDisplays() {
  // Back to the mode that is set already, which every top-level window is told of.
  ::ChangeDisplaySettingsW(nullptr, 0);
}

}  // namespace quillmark::test
