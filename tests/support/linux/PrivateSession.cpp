// The layer keeps the objects of a session in the folder that XDG_RUNTIME_DIR names.
#include "support/PrivateSession.h"

#include "support/linux/Variable.h"

namespace quillmark::test {

struct PrivateSession::Host {
  const Variable folder;
};

PrivateSession::PrivateSession() : host(new Host{Variable("XDG_RUNTIME_DIR", Base())}) {}

PrivateSession::~PrivateSession() = default;

}  // namespace quillmark::test
