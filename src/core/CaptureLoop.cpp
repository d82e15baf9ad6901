// The capture thread of the engine: tick by tick it decides which regions are due on which monitor, grabs
// one frame of each monitor concerned, cuts the regions out and queues one job a frame.
#include <chrono>
#include <exception>
#include <utility>

#include "capture/MonitorChoice.h"
#include "core/AutoRebinder.h"
#include "ipc/WallClock.h"
#include "log/AsyncLogger.h"
#include "specs/SpecStore.h"
#include "specs/Utf8.h"

namespace quillmark {

namespace {

constexpr auto kTickPoll = std::chrono::milliseconds(2);
constexpr auto kIdleWait = std::chrono::milliseconds(20);
// An error that comes back with the same text after this long is news again.
constexpr std::int64_t kErrorQuietMs = 60'000;

std::int64_t SteadyNowMs() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

std::vector<TemplateSpec> SnapshotOfStore() {
  SpecStore& store = Specs();
  const std::lock_guard lock(store.specMutex);
  return store.specs;
}

void BindTargets(std::vector<TemplateSpec>& specs) {
  for (TemplateSpec& spec : specs) {
    if (spec.target.empty()) {
      spec.targetValid = false;
    } else {
      UpdateTargetWindow(spec);
    }
  }
}

// Ends a held frame on every road out of a monitor's turn.
class HeldFrame {
 public:
  explicit HeldFrame(DuplicationContext& holder) : context(holder) {}
  ~HeldFrame() { context.ReleaseFrame(); }
  HeldFrame(const HeldFrame&) = delete;
  HeldFrame& operator=(const HeldFrame&) = delete;

 private:
  DuplicationContext& context;
};

}  // namespace

void AutoRebinder::CaptureLoop() {
  std::int64_t next = SteadyNowMs();
  while (running) {
    const std::int64_t now = SteadyNowMs();
    if (now < next) {
      std::this_thread::sleep_for(kTickPoll);
      continue;
    }
    std::size_t waitingJobs = 0;
    {
      const std::lock_guard lock(jobQueueMutex);
      waitingJobs = jobQueue.size();
    }
    next = now + TickIntervalMs(waitingJobs);
    try {
      CaptureTick();
    } catch (const std::exception& error) {
      ReportTurnError(nullptr, error);
    }
  }
}

void AutoRebinder::CaptureTick() {
  std::vector<TemplateSpec> snapshot = SnapshotOfStore();
  BindTargets(snapshot);
  const std::vector<MonitorEntry> monitors = ListMonitors();

  const MonitorGroups groups = GroupByMonitor(snapshot, monitors);
  if (groups.empty()) {
    std::this_thread::sleep_for(kIdleWait);
    return;
  }
  schedule.ForgetMonitorsBeyond(monitors.size());

  for (const auto& [monitor, indices] : groups) {
    try {
      MonitorTurn(monitor, indices, snapshot);
    } catch (const std::exception& error) {
      ReportTurnError(monitor, error);
    }
  }
}

void AutoRebinder::MonitorTurn(HMONITOR monitor, const std::vector<std::int32_t>& indices,
                               const std::vector<TemplateSpec>& snapshot) {
  auto job = std::make_shared<FrameJob>();
  job->tMs = SteadyNowMs();
  const std::shared_ptr<DuplicationContext> context = GetContext(monitor);
  cv::Mat frame;
  try {
    if (!context->AcquireFrame(frame)) return;
  } catch (...) {
    DropContext(monitor);
    throw;
  }
  {
    const HeldFrame held(*context);
    job->specs = snapshot;
    schedule.Schedule({monitor, {context->left, context->top}, frameCounter, frame}, indices, *job,
                      [&](std::int32_t index, FrameTurn turn, const RegionOnFrame& place) {
                        if (turn != FrameTurn::Forced) return;
                        sender.Enqueue(ForcedHit(job->specs[index], place, WallClockMs()));
                      });
  }
  ++frameCounter;
  const std::lock_guard lock(jobQueueMutex);
  jobQueue.push_back(std::move(job));
}

void AutoRebinder::ReportTurnError(HMONITOR monitor, const std::exception& error) noexcept {
  try {
    TurnError& last = turnErrors[monitor];
    const std::int64_t now = SteadyNowMs();
    const bool news = last.text != error.what() || now - last.tMs > kErrorQuietMs;
    last.tMs = now;
    if (!news) return;
    last.text = error.what();
    const std::wstring what = monitor == nullptr
                                  ? L"tick"
                                  : L"monitor " + std::to_wstring(reinterpret_cast<std::uintptr_t>(monitor));
    LogLine(L"[Capture] ", what, L" skipped: ", CauseOf(error));
  } catch (const std::exception&) {
    // No memory for the line; the loop goes on.
  }
}

}  // namespace quillmark
