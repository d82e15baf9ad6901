// The tests' view into the engine: one tick at a time on the test's own thread, and the jobs it queued.
#pragma once

#include <cstdint>
#include <deque>
#include <latch>
#include <memory>
#include <utility>

#include "core/AutoRebinder.h"

namespace quillmark {

class EngineProbe {
 public:
  explicit EngineProbe(AutoRebinder& probed) : engine(probed) {}

  // One tick, 20 ms after the last one by the clock of these ticks. Only while the engine's own capture
  // thread does not run.
  std::deque<std::shared_ptr<FrameJob>> Tick(std::int64_t afterMs = 20) {
    nowMs += afterMs;
    engine.CaptureTick(nowMs);
    const std::lock_guard lock(engine.jobQueueMutex);
    return std::exchange(engine.jobQueue, {});
  }
  void QueueJob(std::shared_ptr<FrameJob> job) {
    const std::lock_guard lock(engine.jobQueueMutex);
    engine.jobQueue.push_back(std::move(job));
  }
  std::size_t WaitingJobs() {
    const std::lock_guard lock(engine.jobQueueMutex);
    return engine.jobQueue.size();
  }
  // Keeps every worker busy until the release.
  void OccupyWorkers(std::latch& release) {
    for (int i = 0; i < 6; ++i) engine.pool->Submit([&release] { release.wait(); });
  }
  // On the test's own thread, after Start.
  void RunJob(const FrameJob& job) { engine.RunJob(job); }
  bool StopRequested() const { return engine.stopRequested; }
  std::uint64_t FramesCaptured() const { return engine.frameCounter; }
  void ChangeDisplay() { engine.OnDisplayChange(); }
  std::size_t RememberedMonitors() const { return engine.monitorStates.size(); }
  std::uint64_t DisplayChanges() const { return engine.rebindGeneration; }
  RingSender& Sender() { return engine.sender; }

 private:
  AutoRebinder& engine;
  std::int64_t nowMs = 0;
};

}  // namespace quillmark
