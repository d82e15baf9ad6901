#include "core/engine/AutoRebinder.h"

#include <exception>

#include "app/frame/OpenCvConfig.h"
#include "log/AsyncLogger.h"
#include "specs/SpecStore.h"

namespace quillmark {

void AutoRebinder::SetTrackingTarget(const std::wstring& name) {
  trackingTarget = name;
  AsyncLogger::Instance().Log(L"[INFO] tracking: " + name);
}

void AutoRebinder::Start() {
  ConfigureOpenCvOnce();
  sender.Start();
  pool = std::make_unique<ThreadPool>(ThreadPool::SizeFor(std::thread::hardware_concurrency()));
  sink.Start([this] {
    // Called by the system's message dispatch, which no exception may cross.
    try {
      OnDisplayChange();
    } catch (const std::exception&) {
      // Rebinding too often is better than not at all.
      AsyncLogger::Instance().Log(L"[Rebind] no timer thread, rebinding at once");
      DropAllContexts();
    }
  });
  running = true;
  captureThread = std::thread([this] { CaptureLoop(); });
  matchThread = std::thread([this] { MatchLoop(); });
}

void AutoRebinder::Stop() {
  running = false;
  Specs().Wake();
  {
    const std::lock_guard lock(jobQueueMutex);
    stopRequested = true;
  }
  jobQueueWakeup.notify_all();
  jobProgress.notify_all();
  if (captureThread.joinable()) captureThread.join();
  if (matchThread.joinable()) matchThread.join();  // leaves no task of its last job behind
  sink.Stop();                                     // no display change from here on
  rebinds.Stop();
  pool.reset();
  sender.Stop();
}

void AutoRebinder::OnDisplayChange() {
  const std::uint64_t generation = ++rebindGeneration;
  Specs().Wake();  // the capture thread may wait for it
  rebinds.After(std::chrono::milliseconds(rebindDelayMs), [this, generation] {
    if (rebindGeneration == generation) DropAllContexts();
  });
}

void AutoRebinder::DropAllContexts() {
  const std::lock_guard lock(ctxMutex);
  contexts.clear();
}

std::shared_ptr<DuplicationContext> AutoRebinder::GetContext(HMONITOR monitor) {
  const std::lock_guard lock(ctxMutex);
  const auto known = contexts.find(monitor);
  if (known != contexts.end()) return known->second;
  auto context = std::make_shared<DuplicationContext>();
  context->Init(monitor);
  contexts.emplace(monitor, context);
  return context;
}

void AutoRebinder::DropContext(HMONITOR monitor) {
  const std::lock_guard lock(ctxMutex);
  contexts.erase(monitor);
}

}  // namespace quillmark
