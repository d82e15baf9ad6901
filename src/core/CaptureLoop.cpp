// The capture thread of the engine: tick by tick it decides which regions are due on which monitor, grabs
// one frame of each monitor concerned, cuts the regions out and queues one job a frame.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <exception>
#include <opencv2/imgproc.hpp>

#include "core/AutoRebinder.h"
#include "core/RegionGeometry.h"
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

Rect ToRect(const RECT& rect) {
  return {rect.left, rect.top, rect.right, rect.bottom};
}

RECT ToPlatformRect(const Rect& rect) {
  return RECT{rect.left, rect.top, rect.right, rect.bottom};
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

std::vector<MonitorEntry> ListMonitors() {
  std::vector<MonitorEntry> monitors;
  ::EnumDisplayMonitors(nullptr, nullptr, &CollectMonitors, reinterpret_cast<LPARAM>(&monitors));
  return monitors;
}

// The monitor a pinned spec is evaluated on; null when there is none.
HMONITOR PinnedMonitor(std::int32_t pin, const Rect& region, const std::vector<MonitorEntry>& monitors) {
  if (pin == -1) return ::MonitorFromPoint(POINT{0, 0}, MONITOR_DEFAULTTOPRIMARY);
  if (pin >= 1 && static_cast<std::size_t>(pin) <= monitors.size()) return monitors[pin - 1].monitor;
  const RECT rect = ToPlatformRect(region);
  return ::MonitorFromRect(&rect, MONITOR_DEFAULTTONEAREST);
}

bool NeedsHsv(const TemplateSpec& spec) {
  return spec.mode == MatchMode::S || spec.mode == MatchMode::H || spec.mode == MatchMode::HS ||
         spec.colorGate || spec.redHint || spec.vividFlat;
}

// A spec named "T1" is reported unseen where the environment asks for it.
bool IsForced(const TemplateSpec& spec) {
  if (spec.name != L"T1") return false;
  const char* allowed = std::getenv("QM_FORCE_T1_ALLOW");
  return allowed != nullptr && allowed[0] == '1';
}

HitRecord ForcedHit(const TemplateSpec& spec, const Rect& region, cv::Size size) {
  const cv::Point centre(region.left + (region.right - region.left) / 2,
                         region.top + (region.bottom - region.top) / 2);
  const cv::Point relative = RelativeToTarget(centre, size, spec.targetRect);
  HitRecord hit;
  hit.name = spec.name;
  hit.cx = relative.x;
  hit.cy = relative.y;
  hit.w = size.width;
  hit.h = size.height;
  hit.sq = 0.99f;
  hit.tsMs = WallClockMs();
  hit.dedupWindowMs = DedupWindowMs(spec);
  return hit;
}

// A region's pixels at template scale, in a buffer of their own.
cv::Mat Cut(const cv::Mat& image, const cv::Rect& rect, double sx, double sy) {
  const cv::Mat region = image(rect);
  if (std::abs(sx - 1.0) <= 0.01 && std::abs(sy - 1.0) <= 0.01) return region.clone();
  const cv::Size size(std::max(RoundToPixel(rect.width / sx), 1),
                      std::max(RoundToPixel(rect.height / sy), 1));
  cv::Mat scaled;
  cv::resize(region, scaled, size, 0, 0, sx < 1.0 || sy < 1.0 ? cv::INTER_LINEAR : cv::INTER_AREA);
  return scaled;
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

std::int64_t AutoRebinder::TickIntervalMs(std::size_t waitingJobs) {
  if (waitingJobs >= 8) return 80;
  if (waitingJobs >= 4) return 50;
  if (waitingJobs >= 2) return 33;
  return 20;
}

void AutoRebinder::CaptureTick() {
  std::vector<TemplateSpec> snapshot = SnapshotOfStore();
  BindTargets(snapshot);
  const std::vector<MonitorEntry> monitors = ListMonitors();

  Groups groups;
  for (std::size_t i = 0; i < snapshot.size(); ++i) {
    const TemplateSpec& spec = snapshot[i];
    if (!spec.targetValid) continue;
    const Rect region = RegionOnDesktop(spec);
    if (IsEmpty(region)) continue;
    const auto index = static_cast<std::int32_t>(i);
    if (spec.monitorPin == 0) {
      for (const MonitorEntry& entry : monitors) {
        if (!IsEmpty(Intersect(ToRect(entry.rcMonitor), region))) groups[entry.monitor].push_back(index);
      }
    } else if (const HMONITOR monitor = PinnedMonitor(spec.monitorPin, region, monitors)) {
      groups[monitor].push_back(index);
    }
  }
  if (groups.empty()) {
    std::this_thread::sleep_for(kIdleWait);
    return;
  }
  if (frameImages.size() > monitors.size()) frameImages.clear();  // some belong to monitors that are gone

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
    const bool needsHsv = std::any_of(indices.begin(), indices.end(),
                                      [&](std::int32_t index) { return NeedsHsv(snapshot[index]); });
    FrameImages& images = frameImages[monitor];
    ConvertFrame(frame, needsHsv, images);
    for (const std::int32_t index : indices) ScheduleSpec(index, monitor, *context, images, *job);
  }
  ++frameCounter;
  const std::lock_guard lock(jobQueueMutex);
  jobQueue.push_back(std::move(job));
}

void AutoRebinder::ConvertFrame(const cv::Mat& frame, bool needsHsv, FrameImages& images) {
  cv::cvtColor(frame, images.bgr, cv::COLOR_BGRA2BGR);
  cv::cvtColor(images.bgr, images.gray, cv::COLOR_BGR2GRAY);
  if (!needsHsv) {
    images.hsv.release();
    return;
  }
  cv::cvtColor(images.bgr, images.hsv, cv::COLOR_BGR2HSV);
  cv::split(images.hsv, images.hsvPlanes);
}

void AutoRebinder::ScheduleSpec(std::int32_t index, HMONITOR monitor, const DuplicationContext& context,
                                const FrameImages& images, FrameJob& job) {
  const TemplateSpec& spec = job.specs[index];
  if (spec.frameDivisor > 1 && frameCounter % static_cast<std::uint64_t>(spec.frameDivisor) != 0) return;

  std::wstring key;
  if (spec.intervalMs >= 1) {
    key = spec.name + L"@" + std::to_wstring(reinterpret_cast<std::uintptr_t>(monitor));
    const auto last = lastScheduled.find(key);
    if (last != lastScheduled.end() && job.tMs - last->second < spec.intervalMs) return;
  }

  const Rect region = RegionOnDesktop(spec);
  const Rect visible = Intersect(
      region, {context.left, context.top, context.left + images.bgr.cols, context.top + images.bgr.rows});
  if (IsEmpty(visible)) return;

  const double sx = EffectiveScale(spec.targetScaleX);
  const double sy = EffectiveScale(spec.targetScaleY);
  const cv::Size wanted = SizeOnDesktop(spec.tmplGray.size(), sx, sy);
  const cv::Rect rect(visible.left - context.left, visible.top - context.top, visible.right - visible.left,
                      visible.bottom - visible.top);
  if (rect.width < wanted.width || rect.height < wanted.height) return;  // cannot contain the template

  if (IsForced(spec)) {
    sender.Enqueue(ForcedHit(spec, visible, wanted));
    return;
  }

  ROIUnit unit;
  unit.specIndex = index;
  unit.x = visible.left;
  unit.y = visible.top;
  unit.right = visible.right;
  unit.bottom = visible.bottom;
  unit.clipped = visible != region;
  unit.gray = Cut(images.gray, rect, sx, sy);
  unit.bgr = Cut(images.bgr, rect, sx, sy);
  if (!images.hsv.empty()) {
    unit.hsv = Cut(images.hsv, rect, sx, sy);
    unit.sat = Cut(images.hsvPlanes[1], rect, sx, sy);
    unit.hue = Cut(images.hsvPlanes[0], rect, sx, sy);
  }
  unit.scaleX = sx;
  unit.scaleY = sy;
  job.units.push_back(std::move(unit));
  if (spec.intervalMs >= 1) lastScheduled[key] = job.tMs;
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
