// What every component object has: a reference count, which starts at one and ends the object at zero, and
// the answer to queries for interfaces.
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
    // Pairs with itself: the last release sees what the others did to the object before theirs.
    const ULONG left = references.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
  }

 protected:
  ~ComObject() override = default;

  // The interface of that id, other than IUnknown; null when the object has not got it.
  virtual void* Find(REFIID) { return nullptr; }

 private:
  std::atomic<ULONG> references{1};
};

// Makes an object and gives its one reference away.
template <typename Object, typename Interface, typename... Arguments>
HRESULT Give(Interface** target, Arguments&&... arguments) {
  *target = new Object(std::forward<Arguments>(arguments)...);
  return S_OK;
}

}  // namespace quillmark::layer
