// Stands between the engine and the hit ring: takes hits from any thread, drops near-repetitions of the
// last hit accepted under the same name, and writes the rest in arrival order from a thread of its own, so
// that no producer touches shared memory.
//
// Threading: Enqueue from any thread; Start and Stop from the owner's thread only.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "ipc/DuplicateFilter.h"

namespace quillmark {

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
  void Run();

  std::mutex mutex;  // guards pending and duplicates
  std::condition_variable wakeup;
  std::vector<HitRecord> pending;  // in arrival order
  std::atomic<bool> stopRequested{false};
  std::thread thread;
  DuplicateFilter duplicates;
};

}  // namespace quillmark
