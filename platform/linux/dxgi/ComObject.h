// The base of component objects: counts references, starting with one, and answers queries for interfaces.
//
// Threading: references may be counted from any thread.
#pragma once

#include <unknwn.h>

#include <atomic>
#include <utility>

namespace quillmark::layer {

template <typename First, typename... More>
class ComObject : public First, public More... {
 public:
  ComObject() = default;
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;

  HRESULT QueryInterface(REFIID id, void** object) final {
    if (object == nullptr) return E_POINTER;
    *object = id == interfaceId<IUnknown> ? static_cast<IUnknown*>(static_cast<First*>(this)) : Find(id);
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }

  ULONG AddRef() final { return references.fetch_add(1, std::memory_order_relaxed) + 1; }

  ULONG Release() final {
    // Pairs with itself: the last release sees what other threads did before theirs.
    const ULONG left = references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
  }

 protected:
  ~ComObject() override = default;

  // The interface with this id, other than IUnknown; null if the object lacks it.
  virtual void* Find(REFIID) { return nullptr; }

 private:
  std::atomic<ULONG> references{1};
};

// Creates an object and hands out its one reference.
template <typename Object, typename Interface, typename... Arguments>
HRESULT Give(Interface** target, Arguments&&... arguments) {
  *target = new Object(std::forward<Arguments>(arguments)...);
  return S_OK;
}

}  // namespace quillmark::layer
