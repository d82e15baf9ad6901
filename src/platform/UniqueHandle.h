// Move-only owners of the platform's resources: a kernel object's handle, a view of a section.
//
// Threading: one thread at a time.
#pragma once

#include <windows.h>

#include <utility>

namespace quillmark {

inline void CloseObject(void* handle) {
  ::CloseHandle(handle);
}
inline void UnmapView(void* view) {
  ::UnmapViewOfFile(view);
}

template <void (*End)(void*)>
class UniqueResource {
 public:
  UniqueResource() = default;
  // Null owns nothing.
  explicit UniqueResource(void* owned) : resource(owned) {}
  UniqueResource(UniqueResource&& other) noexcept : resource(std::exchange(other.resource, nullptr)) {}
  UniqueResource& operator=(UniqueResource&& other) noexcept {
    if (this != &other) Reset(std::exchange(other.resource, nullptr));
    return *this;
  }
  ~UniqueResource() { Reset(); }

  [[nodiscard]] void* Get() const { return resource; }
  explicit operator bool() const { return resource != nullptr; }

  void Reset(void* owned = nullptr) {
    if (resource != nullptr) End(resource);
    resource = owned;
  }

 private:
  void* resource = nullptr;
};

using UniqueHandle = UniqueResource<&CloseObject>;
using UniqueView = UniqueResource<&UnmapView>;

}  // namespace quillmark
