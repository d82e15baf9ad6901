// Move-only owners of what the platform hands out: a kernel object's handle, a view of a section.
//
// Threading: as any value; one thread at a time.
#pragma once

#include <windows.h>

#include <utility>

namespace quillmark {

class UniqueHandle {
 public:
  UniqueHandle() = default;
  // Takes the handle over; null owns nothing.
  explicit UniqueHandle(HANDLE owned) : handle(owned) {}
  UniqueHandle(UniqueHandle&& other) noexcept : handle(std::exchange(other.handle, nullptr)) {}
  UniqueHandle& operator=(UniqueHandle&& other) noexcept {
    if (this != &other) Reset(std::exchange(other.handle, nullptr));
    return *this;
  }
  ~UniqueHandle() { Reset(); }

  [[nodiscard]] HANDLE Get() const { return handle; }
  explicit operator bool() const { return handle != nullptr; }

  void Reset(HANDLE owned = nullptr) {
    if (handle != nullptr) ::CloseHandle(handle);
    handle = owned;
  }

 private:
  HANDLE handle = nullptr;
};

class UniqueView {
 public:
  UniqueView() = default;
  explicit UniqueView(void* owned) : view(owned) {}
  UniqueView(UniqueView&& other) noexcept : view(std::exchange(other.view, nullptr)) {}
  UniqueView& operator=(UniqueView&& other) noexcept {
    if (this != &other) Reset(std::exchange(other.view, nullptr));
    return *this;
  }
  ~UniqueView() { Reset(); }

  [[nodiscard]] void* Get() const { return view; }
  explicit operator bool() const { return view != nullptr; }

  void Reset(void* owned = nullptr) {
    if (view != nullptr) ::UnmapViewOfFile(view);
    view = owned;
  }

 private:
  void* view = nullptr;
};

}  // namespace quillmark
