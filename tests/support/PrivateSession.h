// A session of the test's own: while it lives, named objects lie in a new folder that no other test or
// program sees; the folder goes with it. Child processes inherit it.
//
// Threading: make it before the test starts threads, end it after they have ended.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>

namespace quillmark::test {

class PrivateSession {
 public:
  PrivateSession() {
    std::string path = (std::filesystem::temp_directory_path() / "session-XXXXXX").string();
    if (!::mkdtemp(path.data())) throw std::runtime_error("cannot make " + path);
    base_ = path;
    if (const char* old = std::getenv("XDG_RUNTIME_DIR")) old_ = old;
    ::setenv("XDG_RUNTIME_DIR", path.c_str(), 1);
  }
  ~PrivateSession() {
    if (old_) {
      ::setenv("XDG_RUNTIME_DIR", old_->c_str(), 1);
    } else {
      ::unsetenv("XDG_RUNTIME_DIR");
    }
    std::error_code ignored;
    std::filesystem::remove_all(base_, ignored);
  }
  PrivateSession(const PrivateSession&) = delete;
  PrivateSession& operator=(const PrivateSession&) = delete;

  // What XDG_RUNTIME_DIR names.
  const std::filesystem::path& Base() const { return base_; }

 private:
  std::filesystem::path base_;
  std::optional<std::string> old_;
};

}  // namespace quillmark::test
