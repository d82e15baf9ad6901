// Sole owner of a file descriptor.
//
// Threading: one thread at a time.
#pragma once

#include <unistd.h>

#include <utility>

namespace quillmark::layer {

class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~UniqueFd() {
    if (fd_ >= 0) ::close(fd_);
  }

  explicit operator bool() const { return fd_ >= 0; }
  int Get() const { return fd_; }

 private:
  int fd_ = -1;
};

}  // namespace quillmark::layer
