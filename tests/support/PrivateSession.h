// A session of the test's own: while it lives, no other test holds named objects that this one could meet.
// Child processes are in it too.
//
// Threading: make it before the test starts threads, end it on the same thread after they have ended.
#pragma once

#include <filesystem>
#include <memory>

#include "support/TempFolder.h"

namespace quillmark::test {

class PrivateSession {
 public:
  // Throws std::runtime_error when the session cannot be had.
  PrivateSession();
  ~PrivateSession();
  PrivateSession(const PrivateSession&) = delete;
  PrivateSession& operator=(const PrivateSession&) = delete;

  // A folder that goes with the session. Where named objects are files they lie below it.
  const std::filesystem::path& Base() const { return folder.Path(); }

 private:
  struct Host;
  TempFolder folder;
  std::unique_ptr<Host> host;
};

}  // namespace quillmark::test
