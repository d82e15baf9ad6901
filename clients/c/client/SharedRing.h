// The named section and event of one ring, opened or created, and the roles that coordinate the clients of a
// session.
//
// The event is opened first: it tells a worker that a controller owns the section's contents, so the worker
// does not reset them.
//
// Threading: one thread.
#pragma once

#include <chrono>
#include <cstdint>

#include "ipc/SharedObjects.h"

namespace quillmark::client {

using Deadline = std::chrono::steady_clock::time_point;

class SharedRing {
 public:
  // `size` in bytes. Raises std::runtime_error with the object's name and the system's error code.
  SharedRing(const wchar_t* sectionName, const wchar_t* eventName, std::uint32_t size);

  [[nodiscard]] void* View() const { return section.view.Get(); }
  void Signal() const;
  // Waits until the other side signals, at most `timeoutMs`.
  void Wait(std::uint32_t timeoutMs) const;

 private:
  SharedEvent event;
  SharedSection section;
};

// Owned by at most one client of the session; released on destruction, and when its process dies.
class Role {
 public:
  // Tries to take the role, once and then until the deadline.
  explicit Role(const wchar_t* name, Deadline deadline = {});
  [[nodiscard]] bool Held() const { return static_cast<bool>(mutex); }

 private:
  UniqueHandle mutex;
};

}  // namespace quillmark::client
