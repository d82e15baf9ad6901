// Sends the engine's hits to the hit ring: drops near-repetitions and writes the rest in order of arrival
// from its own thread, so producers never touch shared memory. That thread sleeps until a hit is queued or
// Stop is called.
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

  // Starts the sender thread, which must not be running. Raises std::system_error when it cannot be started.
  void Start();
  // Ends and joins the sender thread and drops unwritten hits. Idempotent.
  void Stop();

  // Queues or suppresses the hit. Never waits for the controller.
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
