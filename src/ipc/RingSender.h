// Stands between the engine and the hit ring: takes hits from any thread, drops near-repetitions of the
// last hit accepted under the same name, and writes the rest in arrival order from a thread of its own, so
// that no producer touches shared memory.
//
// A dropped hit does not count as sent: a target that stands still is reported again once a window.
//
// Threading: Enqueue from any thread; Start and Stop from the owner's thread only.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace quillmark {

// A hit inside the process.
struct HitRecord {
  std::wstring name;                // spec that matched; key of the deduplication
  std::int32_t cx = 0, cy = 0;      // centre, relative to the target's client area
  std::int32_t w = 0, h = 0;        // size in desktop pixels
  float sq = 0.0f;                  // match score, 1 is perfect
  float edge = 0.0f;                // edge score, 0 where none was computed
  std::uint64_t tsMs = 0;           // UTC milliseconds since 1970-01-01
  std::uint64_t dedupWindowMs = 0;  // window of the position rule, 0 for the default
};

class RingSender {
 public:
  RingSender() = default;
  ~RingSender();
  RingSender(const RingSender&) = delete;
  RingSender& operator=(const RingSender&) = delete;

  // Starts the sender thread; not while one runs. Raises std::system_error when it cannot be started.
  void Start();
  // Ends and joins the sender thread; hits not yet written are dropped. Idempotent.
  void Stop();

  // Queues or suppresses the hit; never waits for the controller.
  void Enqueue(HitRecord hit);

 private:
  // The last hit accepted under one name.
  struct LastSent {
    std::int32_t cx = 0, cy = 0;
    std::uint64_t tsMs = 0;
    std::int32_t w = 0, h = 0;
    float sq = 0.0f;
  };

  void Run();
  static bool Repeats(const HitRecord& hit, const LastSent& last);

  std::mutex mutex;  // guards pending and lastSent
  std::condition_variable wakeup;
  std::vector<HitRecord> pending;  // in arrival order
  std::atomic<bool> stopRequested{false};
  std::thread thread;
  std::unordered_map<std::wstring, LastSent> lastSent;
};

}  // namespace quillmark
