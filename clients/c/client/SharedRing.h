// The named section and event of one ring, opened or created, as a controller holds them; and the roles by
// which several clients of one session stay out of each other's way.
//
// The event comes first: a worker that finds it knows that a controller owns the section's contents, and
// leaves them alone.
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
  // Until the other side signals, or for `timeoutMs`.
  void Wait(std::uint32_t timeoutMs) const;

 private:
  SharedEvent event;
  SharedSection section;
};

// Held by at most one client of the session; given up on destruction, also when its process is killed.
class Role {
 public:
  // Tries to take the role at once, then again until the deadline.
  explicit Role(const wchar_t* name, Deadline deadline = {});
  [[nodiscard]] bool Held() const { return static_cast<bool>(mutex); }

 private:
  UniqueHandle mutex;
};

}  // namespace quillmark::client
