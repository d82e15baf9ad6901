// Owns one reference to a component object.
//
// Threading: that of the object.
#pragma once

#include <unknwn.h>

#include <utility>

namespace quillmark {

template <typename Interface>
class ComPtr {
 public:
  ComPtr() = default;
  ComPtr(ComPtr&& other) noexcept : object(std::exchange(other.object, nullptr)) {}
  ComPtr& operator=(ComPtr&& other) noexcept {
    if (this != &other) {
      Reset();
      object = std::exchange(other.object, nullptr);
    }
    return *this;
  }
  ~ComPtr() { Reset(); }

  void Reset() noexcept {
    if (Interface* const held = std::exchange(object, nullptr)) held->Release();
  }

  Interface* Get() const noexcept { return object; }
  Interface* operator->() const noexcept { return object; }
  explicit operator bool() const noexcept { return object != nullptr; }

  // For a call that returns a reference; releases the previous one.
  Interface** Put() noexcept {
    Reset();
    return &object;
  }

  // Another interface of the same object; `other` is empty on failure.
  template <typename Other>
  HRESULT As(ComPtr<Other>& other) const {
    return object->QueryInterface(IID_PPV_ARGS(other.Put()));
  }

 private:
  Interface* object = nullptr;
};

}  // namespace quillmark
