// The worker's side of the hit ring: sends hits and replies to the controller through shared memory. When the
// ring is full, a hit is refused and counted; unread records are never overwritten.
//
// Threading: any thread. Log lines are queued under the writers' mutex.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>

#include "platform/UniqueHandle.h"

namespace quillmark {

struct HitRingLayout;

class HitRing {
 public:
  // The process's ring. Never destroyed, as writers may outlive everything else.
  static HitRing& Instance();

  HitRing() = default;
  HitRing(const HitRing&) = delete;
  HitRing& operator=(const HitRing&) = delete;

  // Opens the ring on the first call; concurrent callers wait. If that fails, every call returns false.
  bool EnsureInit();

  // Writes one record or drops it; see WriteHit.
  void Write(const std::wstring& name, std::int32_t cx, std::int32_t cy, std::int32_t w, std::int32_t h,
             float sq, float edge, std::uint64_t tsMs);

 private:
  bool Init();

  UniqueHandle mapping;
  UniqueHandle event;
  UniqueView view;
  std::once_flag initOnce;
  std::atomic<bool> ready{false};
  std::mutex mutex;                          // serialises the writers of this process
  std::atomic<std::uint32_t> writeCalls{0};  // samples the log lines
  std::atomic<bool> initWarned{false};
  std::atomic<bool> nullViewWarned{false};
};

// Writes a hit or reply into the process's hit ring, or drops it. Position and size in pixels, `tsMs` in UTC
// milliseconds since 1970-01-01. Names are cut to 31 UTF-16 units.
void WriteHit(const std::wstring& name, std::int32_t cx, std::int32_t cy, std::int32_t w, std::int32_t h,
              float sq, float edge, std::uint64_t tsMs);

}  // namespace quillmark
