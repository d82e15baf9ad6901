// All processes of a login share one set of named objects here, so tests take turns, and each makes sure that
// nothing of the product is left over when its own begins.
#include "support/PrivateSession.h"

#include <windows.h>

#include <stdexcept>

#include "support/Eventually.h"
#include "support/windows/Turn.h"

namespace quillmark::test {

namespace {

// Whether somebody holds an object of the product. One of any type holds its name.
bool AnyHeld() {
  for (const wchar_t* name : {L"Local\\CmdRingMMF", L"Local\\CmdRingEvent", L"Local\\HitRingMMF",
                              L"Local\\HitRingEvent", L"KXRQTLV1_Quillmark"}) {
    const UniqueHandle event(::OpenEventW(SYNCHRONIZE, FALSE, name));
    if (event || ::GetLastError() != ERROR_FILE_NOT_FOUND) return true;
  }
  return false;
}

}  // namespace

struct PrivateSession::Host {
  Turn turn;
};

PrivateSession::PrivateSession() : host(std::make_unique<Host>()) {
  // The kernel may still be clearing up after a process that was killed.
  if (!Eventually([] { return !AnyHeld(); })) {
    throw std::runtime_error("a program outside the tests holds the product's named objects");
  }
}

PrivateSession::~PrivateSession() = default;

}  // namespace quillmark::test
