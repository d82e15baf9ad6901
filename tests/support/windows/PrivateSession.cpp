// All processes of a login share one set of named objects here. Tests take turns, and each first checks that
// none of the product's objects is left.
#include "support/PrivateSession.h"

#include <windows.h>

#include <stdexcept>

#include "support/Eventually.h"
#include "support/windows/Turn.h"

namespace quillmark::test {

namespace {

// Whether an object of the product exists. An object of any type takes its name.
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
