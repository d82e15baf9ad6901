// Access to the engine's internals for tests and benchmarks: single ticks on the caller's thread, and jobs.
//
// Threading: one thread, and the engine's own as each method says.
#pragma once

#include <cstdint>
#include <deque>
#include <latch>
#include <memory>
#include <thread>
#include <utility>

#include "core/engine/AutoRebinder.h"

namespace quillmark {

class EngineProbe {
 public:
  explicit EngineProbe(AutoRebinder& probed) : engine(probed) {}

  // Runs one tick, 20 ms after the last by the ticks' own clock, and takes the jobs it queued. Not while the
  // engine's capture thread runs.
  std::deque<std::shared_ptr<FrameJob>> Tick(std::int64_t afterMs = 20) {
    nowMs += afterMs;
    engine.CaptureTick(nowMs);
    const std::lock_guard lock(engine.jobQueueMutex);
    return std::exchange(engine.jobQueue, {});
  }
  // Starts the workers without the engine's other threads.
  void StartPool() {
    engine.pool = std::make_unique<ThreadPool>(ThreadPool::SizeFor(std::thread::hardware_concurrency()));
  }
  // Runs a job on the workers, from the caller's thread.
  void RunJob(const FrameJob& job) { engine.RunJob(job); }
  void QueueJob(std::shared_ptr<FrameJob> job) { engine.QueueJob(std::move(job)); }
  std::size_t WaitingJobs() {
    const std::lock_guard lock(engine.jobQueueMutex);
    return engine.jobQueue.size();
  }
  bool MatchingIsBehind() {
    const std::lock_guard lock(engine.jobQueueMutex);
    return engine.MatchingIsBehind();
  }
  // Keeps every worker busy until the release.
  void OccupyWorkers(std::latch& release) {
    for (int i = 0; i < 6; ++i) engine.pool->Submit([&release] { release.wait(); });
  }
  bool StopRequested() {
    const std::lock_guard lock(engine.jobQueueMutex);
    return engine.stopRequested;
  }
  std::uint64_t FramesCaptured() const { return engine.frameCounter; }
  void ChangeDisplay() { engine.OnDisplayChange(); }
  std::size_t RememberedMonitors() const { return engine.monitorStates.size(); }
  RingSender& Sender() { return engine.sender; }

 private:
  AutoRebinder& engine;
  std::int64_t nowMs = 0;
};

}  // namespace quillmark
