// The engine: turns monitor images into hits. One thread captures the monitors and cuts out the specs'
// regions, another passes the regions of one frame at a time to a pool of workers, and a sender writes the
// hits. After a display change and a quiet period all capture contexts are dropped and rebuilt on their next
// use, hence the name. A context that fails is replaced alone, as CaptureRetry decides.
//
// No thread polls. The capture thread waits until its next tick is due or, while no spec names a target,
// until the store or the displays change. It also waits while the match thread is too far behind
// (Tick::BeginsLate), so that jobs and their memory stay few, and each frame is the newest when it is taken.
// The match thread waits for a job. Stop ends every wait.
//
// Threading: construction, SetTrackingTarget, Start, Stop and destruction by the owner's thread; other
// methods name their thread. No thread holds two of the engine's locks.
#pragma once

#include <windows.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <mutex>
#include <opencv2/core.hpp>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "app/frame/DisplayChangeSink.h"
#include "app/frame/ThreadPool.h"
#include "capture/CaptureRetry.h"
#include "capture/DuplicationContext.h"
#include "core/FrameJob.h"
#include "core/engine/DelayedCalls.h"
#include "core/engine/SampledErrors.h"
#include "core/engine/Tick.h"
#include "ipc/RingSender.h"

namespace quillmark {

class AutoRebinder {
 public:
  AutoRebinder() = default;
  ~AutoRebinder() { Stop(); }
  AutoRebinder(const AutoRebinder&) = delete;
  AutoRebinder& operator=(const AutoRebinder&) = delete;

  // Stores and logs the name, for information only.
  void SetTrackingTarget(const std::wstring& name);

  // Starts the engine, once. Raises std::system_error when a thread cannot be started.
  void Start();
  // Ends every thread in order and leaves no task or pending rebind behind. Idempotent; the destructor calls
  // it. The engine cannot be started again.
  void Stop();

  // The monitor's capture context, made on first use. Raises what DuplicationContext::Init raises. Any
  // thread.
  std::shared_ptr<DuplicationContext> GetContext(HMONITOR monitor);
  // Drops the monitor's context, which is destroyed with its last user. Any thread.
  void DropContext(HMONITOR monitor);

 private:
  friend class EngineProbe;  // for tests and benchmarks

  // What the capture thread remembers about a monitor that is present.
  struct MonitorState {
    std::weak_ptr<DuplicationContext> context;  // the one that `retry` refers to
    CaptureRetry retry;
    std::string errorText;  // of its last failed turn; not logged again when it repeats
    std::int64_t errorMs = 0;
  };

  // Bodies of the two threads.
  void CaptureLoop();
  void MatchLoop();

  void OnDisplayChange();
  void DropAllContexts();

  // Capture thread only; in CaptureLoop.cpp.
  void CaptureTick(std::int64_t nowMs);
  // The store's specs, copied when they have changed.
  SpecList StoredSpecs();
  // Waits while matching is too far behind, or until Stop. Returns how many jobs waited at first.
  std::size_t WaitForMatching();
  // Waits until the next tick, due at `dueMs`, or Stop.
  void WaitForTick(std::int64_t dueMs);
  // Waits until the store or the displays have changed since the last tick, or Stop.
  void WaitForChange();
  // Whether no tick has anything to do before such a change.
  bool NeedsChange() const;
  // Forgets all other monitors, and drops the contexts that are due for replacement. The list of monitors is
  // as of this generation or newer.
  void RetireContexts(std::set<HMONITOR> monitors, std::uint64_t generation, std::int64_t nowMs);
  void MonitorTurn(HMONITOR monitor, std::int64_t nowMs);
  // Returns null while `state.retry` delays the next attempt.
  std::shared_ptr<DuplicationContext> OpenContext(HMONITOR monitor, MonitorState& state, std::int64_t nowMs);
  // Logs an error unless it repeats. A null monitor means the whole tick.
  void ReportTurnError(HMONITOR monitor, const std::exception& error) noexcept;

  // In MatchLoop.cpp: any thread; with jobQueueMutex held; match thread only.
  void QueueJob(std::shared_ptr<FrameJob> job);
  [[nodiscard]] bool MatchingIsBehind() const;
  void RunJob(const FrameJob& job);

  std::atomic<bool> running{false};
  std::wstring trackingTarget;

  std::thread captureThread;
  std::thread matchThread;

  std::mutex ctxMutex;  // guards contexts
  std::unordered_map<HMONITOR, std::shared_ptr<DuplicationContext>> contexts;

  DisplayChangeSink sink;
  const std::uint64_t rebindDelayMs = 200;
  std::atomic<std::uint64_t> rebindGeneration{0};
  DelayedCalls rebinds;

  std::unique_ptr<ThreadPool> pool;
  RingSender sender;
  SampledErrors taskErrors;  // of the pool's tasks, by spec

  std::atomic<std::uint64_t> frameCounter{0};  // monitor frames captured

  // Capture thread only.
  Tick tick;
  SpecList snapshot;                                         // of the store
  std::set<HMONITOR> knownMonitors;                          // of the last tick
  std::unordered_map<HMONITOR, MonitorState> monitorStates;  // null: the whole tick's
  std::uint64_t seenGeneration = 0;                          // of rebindGeneration
  std::uint64_t seenChanges = 0;                             // of the store

  std::mutex jobQueueMutex;                // guards the rest
  std::condition_variable jobQueueWakeup;  // a job was queued, or stopRequested
  std::condition_variable jobProgress;     // the match thread took or ended a job, or stopRequested
  JobQueue jobQueue;
  std::optional<std::chrono::steady_clock::time_point> jobStart;  // of the running job
  std::chrono::steady_clock::duration lastJobTime{};
  bool stopRequested = false;  // ends the match thread
};

}  // namespace quillmark
