// A session for one test and its child processes: while it exists, no other test's named objects are visible.
//
// Threading: made before the test starts threads and destroyed after they have ended, on the same thread.
#pragma once

#include <filesystem>
#include <memory>

#include "support/TempFolder.h"

namespace quillmark::test {

class PrivateSession {
 public:
  // Throws std::runtime_error if a program outside the tests is in the way.
  PrivateSession();
  ~PrivateSession();

  // A folder removed with the session. If named objects are files, they are below it.
  const std::filesystem::path& Base() const { return folder.Path(); }

 private:
  struct Host;
  TempFolder folder;
  std::unique_ptr<Host> host;
};

}  // namespace quillmark::test
