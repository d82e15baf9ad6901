// The engine: turns monitor images into hits. One thread captures the monitors and cuts out the regions of
// the specs, another hands the regions of one frame at a time to a pool of workers, a sender writes the
// hits. On a display change every capture context is thrown away after a quiet period and rebuilt on its
// next use: that is what the name says. A context that fails is replaced by itself, as CaptureRetry decides.
//
// Threading: construction, SetTrackingTarget, Start, Stop and destruction by the owner's thread; everything
// else says its thread. No two of the engine's locks are held together.
#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <opencv2/core.hpp>
#include <set>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "app/DisplayChangeSink.h"
#include "app/ThreadPool.h"
#include "capture/CaptureRetry.h"
#include "capture/DuplicationContext.h"
#include "capture/TargetWindow.h"
#include "core/DelayedCalls.h"
#include "core/FrameJob.h"
#include "core/SampledErrors.h"
#include "core/Tick.h"
#include "ipc/RingSender.h"

namespace quillmark {

class AutoRebinder {
 public:
  AutoRebinder() = default;
  ~AutoRebinder() { Stop(); }
  AutoRebinder(const AutoRebinder&) = delete;
  AutoRebinder& operator=(const AutoRebinder&) = delete;

  // Keeps the name and logs it; nothing in the engine depends on it.
  void SetTrackingTarget(const std::wstring& name);

  // Brings the engine up; once. Raises std::system_error when a thread cannot be started.
  void Start();
  // Ends every thread in order: no task of a job stays queued or running, no pending rebind touches the
  // engine afterwards. Idempotent; also run by the destructor. The engine cannot be started again.
  void Stop();

  // The monitor's capture context, made on first use. Raises what DuplicationContext::Init raises.
  // Threading: any thread.
  std::shared_ptr<DuplicationContext> GetContext(HMONITOR monitor);
  // Forgets the monitor's context; it dies with its last holder. Threading: any thread.
  void DropContext(HMONITOR monitor);

 private:
  friend class EngineProbe;  // the tests' view

  // What the capture thread remembers of a monitor, as long as there is that monitor.
  struct MonitorState {
    std::weak_ptr<DuplicationContext> context;  // the one that `retry` speaks of
    CaptureRetry retry;
    // The last error of its turns; a repetition of the text is not logged again.
    std::string errorText;
    std::int64_t errorMs = 0;
  };

  // Bodies of the two threads.
  void CaptureLoop();
  void MatchLoop();

  void OnDisplayChange();
  void DropAllContexts();

  // Of the capture thread.
  void CaptureTick(std::int64_t nowMs);
  // Forgets all monitors but these, and drops the contexts whose time is up.
  void RetireContexts(std::set<HMONITOR> monitors, std::int64_t nowMs);
  void MonitorTurn(HMONITOR monitor, std::int64_t nowMs);
  // Null while its retry has it wait.
  std::shared_ptr<DuplicationContext> OpenContext(HMONITOR monitor, MonitorState& state, std::int64_t nowMs);
  // Logs an error when its text is news; without a monitor it is one of the whole tick.
  void ReportTurnError(HMONITOR monitor, const std::exception& error) noexcept;

  // Of the match thread.
  void RunJob(const FrameJob& job);

  std::atomic<bool> running{false};
  std::atomic<bool> stopRequested{false};
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

  // Of the capture thread.
  Tick tick;
  std::set<HMONITOR> knownMonitors;                          // of the last tick
  std::unordered_map<HMONITOR, MonitorState> monitorStates;  // without a monitor: of the whole tick
  std::uint64_t seenGeneration = 0;                          // of rebindGeneration

  std::mutex jobQueueMutex;  // guards jobQueue
  std::deque<std::shared_ptr<FrameJob>> jobQueue;
};

}  // namespace quillmark
