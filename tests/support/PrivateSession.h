// A session of the test's own: while it lives, named objects lie in a new folder that no other test or
// program sees; the folder goes with it. Child processes inherit it.
//
// Threading: make it before the test starts threads, end it after they have ended.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "support/TempFolder.h"

namespace quillmark::test {

class PrivateSession {
 public:
  PrivateSession() {
    if (const char* old = std::getenv("XDG_RUNTIME_DIR")) old_ = old;
    ::setenv("XDG_RUNTIME_DIR", Base().c_str(), 1);
  }
  ~PrivateSession() {
    if (old_) {
      ::setenv("XDG_RUNTIME_DIR", old_->c_str(), 1);
    } else {
      ::unsetenv("XDG_RUNTIME_DIR");
    }
  }
  PrivateSession(const PrivateSession&) = delete;
  PrivateSession& operator=(const PrivateSession&) = delete;

  // What XDG_RUNTIME_DIR names.
  const std::filesystem::path& Base() const { return folder_.Path(); }

 private:
  TempFolder folder_;
  std::optional<std::string> old_;
};

}  // namespace quillmark::test
