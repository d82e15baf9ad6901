// Sole owner of a shared mapping of a file's first bytes.
//
// Threading: constant after construction; the memory is shared with whoever maps the same file.
#pragma once

#include <sys/mman.h>

#include <cstddef>
#include <utility>

namespace quillmark::layer {

class Mapping {
 public:
  Mapping() = default;
  // Empty on failure, with errno.
  Mapping(int fd, std::size_t size)
      : data_(::mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0)), size_(size) {
    if (data_ == MAP_FAILED) data_ = nullptr;
  }
  Mapping(Mapping&& other) noexcept : data_(std::exchange(other.data_, nullptr)), size_(other.size_) {}
  Mapping& operator=(Mapping&& other) noexcept {
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    return *this;
  }
  ~Mapping() {
    if (data_) ::munmap(data_, size_);
  }

  explicit operator bool() const { return data_ != nullptr; }
  void* Data() const { return data_; }
  std::size_t Size() const { return size_; }

 private:
  void* data_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace quillmark::layer
