// The login's desktop, which other programs may use too.
#include "support/TestDesktop.h"

#include "support/windows/Turn.h"

namespace quillmark::test {

struct TestDesktop::Host {
  Turn turn;
};

TestDesktop::TestDesktop() : host(std::make_unique<Host>()) {}

TestDesktop::~TestDesktop() = default;

void TestDesktop::ChangeDisplays() {
  // Sets the current mode again; every top-level window gets a message.
  ::ChangeDisplaySettingsW(nullptr, 0);
}

}  // namespace quillmark::test
