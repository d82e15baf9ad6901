// The layer keeps the objects of a session in the folder that XDG_RUNTIME_DIR names.
#include "support/PrivateSession.h"

#include <cstdlib>
#include <optional>
#include <string>

namespace quillmark::test {

struct PrivateSession::Host {
  std::optional<std::string> outer;
};

PrivateSession::PrivateSession() : host(std::make_unique<Host>()) {
  if (const char* outer = std::getenv("XDG_RUNTIME_DIR")) host->outer = outer;
  ::setenv("XDG_RUNTIME_DIR", Base().c_str(), 1);
}

PrivateSession::~PrivateSession() {
  if (host->outer) {
    ::setenv("XDG_RUNTIME_DIR", host->outer->c_str(), 1);
  } else {
    ::unsetenv("XDG_RUNTIME_DIR");
  }
}

}  // namespace quillmark::test
