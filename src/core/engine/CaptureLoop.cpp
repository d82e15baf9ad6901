// The engine's capture thread: on each tick it takes a frame of each monitor with a spec, cuts out the
// regions that are due and queues one job per frame.
#include <algorithm>
#include <chrono>
#include <exception>
#include <optional>
#include <utility>

#include "capture/MonitorChoice.h"
#include "capture/TargetWindow.h"
#include "core/engine/AutoRebinder.h"
#include "ipc/WallClock.h"
#include "log/AsyncLogger.h"
#include "specs/SpecStore.h"
#include "specs/Utf8.h"

namespace quillmark {

namespace {

// From the end of an empty tick to the next one's start, at least: windows appear unannounced.
constexpr std::int64_t kIdleWaitMs = 20;
// After this long, an error with the same text is logged again.
constexpr std::int64_t kErrorQuietMs = 60'000;

std::int64_t SteadyNowMs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

std::wstring NameOf(HMONITOR monitor) {
  return L"monitor " + std::to_wstring(reinterpret_cast<std::uintptr_t>(monitor));
}

}  // namespace

void AutoRebinder::CaptureLoop() {
  while (running) {
    std::int64_t due = SteadyNowMs() + kIdleWaitMs;
    try {
      const std::size_t waitingJobs = WaitForMatching();
      if (!running) return;
      const std::int64_t now = SteadyNowMs();
      due = now + Tick::IntervalMs(waitingJobs);
      CaptureTick(now);
      if (tick.Groups().empty()) {
        if (NeedsChange()) {
          WaitForChange();
        } else {
          due = std::max(due, SteadyNowMs() + kIdleWaitMs);
        }
      }
    } catch (const std::exception& error) {
      ReportTurnError(nullptr, error);
    }
    WaitForTick(due);
  }
}

std::size_t AutoRebinder::WaitForMatching() {
  std::unique_lock lock(jobQueueMutex);
  const std::size_t waitingJobs = jobQueue.size();
  jobProgress.wait(lock, [this] { return stopRequested || !MatchingIsBehind(); });
  return waitingJobs;
}

bool AutoRebinder::NeedsChange() const {
  const auto hasTarget = [](const TemplateSpec& spec) { return !spec.target.empty(); };
  const auto hasFault = [](const auto& entry) { return entry.second.retry.HasFault(); };
  return std::ranges::none_of(tick.Specs(), hasTarget) && std::ranges::none_of(monitorStates, hasFault);
}

void AutoRebinder::WaitForChange() {
  SpecStore& store = Specs();
  std::unique_lock lock(store.specMutex);
  store.wakeup.wait(
      lock, [&] { return !running || store.changes != seenChanges || rebindGeneration != seenGeneration; });
}

void AutoRebinder::WaitForTick(std::int64_t dueMs) {
  SpecStore& store = Specs();
  std::unique_lock lock(store.specMutex);
  const std::chrono::steady_clock::time_point due{std::chrono::milliseconds(dueMs)};
  while (running && SteadyNowMs() < dueMs) store.wakeup.wait_until(lock, due);
}

void AutoRebinder::CaptureTick(std::int64_t nowMs) {
  const std::uint64_t generation = rebindGeneration;  // before the monitors are listed
  TargetSearch targets;
  tick.Bind(StoredSpecs(), [&](const TemplateSpec& spec) { return targets.Find(spec.target); });
  const std::vector<MonitorEntry> monitors = ListMonitors();
  tick.Group(monitors);
  const MonitorGroups& groups = tick.Groups();

  std::set<HMONITOR> present;
  for (const MonitorEntry& entry : monitors) present.insert(entry.monitor);
  for (const auto& group : groups) present.insert(group.first);
  RetireContexts(std::move(present), generation, nowMs);
  for (const auto& [monitor, indices] : groups) {
    try {
      MonitorTurn(monitor, nowMs);
    } catch (const std::exception& error) {
      tick.LoseTrack(monitor);
      ReportTurnError(monitor, error);
    }
  }
}

SpecList AutoRebinder::StoredSpecs() {
  SpecStore& store = Specs();
  const std::lock_guard lock(store.specMutex);
  if (!snapshot || seenChanges != store.changes) {
    snapshot = std::make_shared<const std::vector<TemplateSpec>>(store.specs);
    seenChanges = store.changes;
  }
  return snapshot;
}

void AutoRebinder::RetireContexts(std::set<HMONITOR> monitors, std::uint64_t generation, std::int64_t nowMs) {
  const bool displayChanged = generation != seenGeneration;
  const bool monitorsChanged = monitors != knownMonitors;
  const auto isGone = [&](const auto& entry) {
    return entry.first != nullptr && !monitors.contains(entry.first);
  };
  if (monitorsChanged) {
    tick.KeepMonitors(monitors);
    std::erase_if(monitorStates, isGone);
  }
  const std::lock_guard lock(ctxMutex);
  // Not left to the rebind, which a burst delays: each context keeps a device or a connection open.
  if (monitorsChanged) std::erase_if(contexts, isGone);
  knownMonitors = std::move(monitors);
  seenGeneration = generation;
  for (auto& [monitor, state] : monitorStates) {
    if (displayChanged) state.retry.OnDisplayChange();
    if (!state.retry.MustDrop(nowMs)) continue;
    state.retry.OnDropped(nowMs);
    const auto known = contexts.find(monitor);
    if (known != contexts.end() && known->second == state.context.lock()) contexts.erase(known);
  }
}

std::shared_ptr<DuplicationContext> AutoRebinder::OpenContext(HMONITOR monitor, MonitorState& state,
                                                              std::int64_t nowMs) {
  if (!state.retry.MayOpen(nowMs)) return nullptr;
  std::shared_ptr<DuplicationContext> context;
  try {
    context = GetContext(monitor);
  } catch (...) {
    state.retry.OnOpenFailed(nowMs);
    throw;
  }
  if (context != state.context.lock()) {
    state.context = context;
    state.retry.OnOpened();
  }
  return context;
}

void AutoRebinder::MonitorTurn(HMONITOR monitor, std::int64_t nowMs) {
  const std::int64_t beginMs = SteadyNowMs();
  MonitorState& state = monitorStates[monitor];
  const std::shared_ptr<DuplicationContext> context = OpenContext(monitor, state, nowMs);
  if (!context) return;
  cv::Mat frame;
  try {
    const CaptureOutcome outcome = context->Acquire(frame);
    if (state.retry.OnOutcome(outcome, nowMs)) {
      LogLine(L"[Capture] ", NameOf(monitor), L": ", FromUtf8(outcome.Text()), L", opening it again");
    }
    if (outcome.IsFault()) tick.LoseTrack(monitor);
    if (!outcome.IsFrame()) return;
  } catch (...) {
    DropContext(monitor);
    state.retry.OnDropped(nowMs);
    throw;
  }
  std::shared_ptr<FrameJob> job;
  {
    const HeldFrame held(*context);
    job = tick.Cut({monitor, {context->left, context->top}, frameCounter, frame, context->Changes(), nowMs},
                   beginMs, [&](const SpecTurn& turn) {
                     if (turn.outcome != SpecOutcome::Forced) return;
                     sender.Enqueue(ForcedHit(tick.Specs()[turn.index], turn.place, WallClockMs()));
                   });
  }
  ++frameCounter;
  QueueJob(job);
  tick.Commit(monitor, *job);
}

void AutoRebinder::ReportTurnError(HMONITOR monitor, const std::exception& error) noexcept {
  try {
    MonitorState& state = monitorStates[monitor];
    const std::int64_t now = SteadyNowMs();
    const bool news = state.errorText != error.what() || now - state.errorMs > kErrorQuietMs;
    state.errorMs = now;
    if (!news) return;
    state.errorText = error.what();
    LogLine(L"[Capture] ", monitor == nullptr ? L"tick" : NameOf(monitor), L" skipped: ", CauseOf(error));
  } catch (const std::exception&) {
    // No memory for the line.
  }
}

}  // namespace quillmark
