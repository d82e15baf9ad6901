#include "replay/Engine.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <optional>
#include <utility>

#include "capture/TargetText.h"
#include "core/RegionGeometry.h"
#include "core/RegionTask.h"
#include "explain/Steps.h"

namespace quillmark::replay {
namespace {

using explain::Reason;

// Handles are compared and printed, never followed.
HMONITOR HandleOf(std::size_t monitor) {
  return reinterpret_cast<HMONITOR>(static_cast<std::uintptr_t>(monitor + 1));
}

// A recorded window as it answers for itself.
class WindowAnswers {
 public:
  explicit WindowAnswers(const RecordedWindow& recorded) : window(recorded) {}
  [[nodiscard]] bool Shown() const { return window.visible && !window.minimised; }
  [[nodiscard]] std::wstring_view ImageFile() const { return window.program; }
  [[nodiscard]] std::wstring_view Title() const { return window.title; }
  bool OuterRect(Rect& rect) const {
    rect = window.outer;
    return true;
  }

 private:
  const RecordedWindow& window;
};

Reason WhyNoWindow(const std::wstring& target, const std::vector<RecordedWindow>& windows) {
  const TargetText text(target);
  Reason reason = Reason::WindowNotFound;
  for (const RecordedWindow& window : windows) {
    WindowAnswers answers(window);
    if (!text.Means(answers)) continue;
    if (window.minimised) return Reason::WindowMinimised;
    reason = Reason::WindowHidden;
  }
  return reason;
}

// Binds the spec to its window; a reason when it has none that can be used.
std::optional<Reason> BindTarget(TemplateSpec& spec, const std::vector<RecordedWindow>& windows,
                                 const std::vector<MonitorEntry>& monitors) {
  spec.targetValid = false;
  if (spec.target.empty()) return Reason::TargetEmpty;
  TargetChoice choice(spec.target);
  const RecordedWindow* found = nullptr;
  for (const RecordedWindow& window : windows) {
    WindowAnswers answers(window);
    if (choice.Takes(answers)) found = &window;
  }
  if (found == nullptr) return WhyNoWindow(spec.target, windows);
  if (IsEmpty(found->client)) return Reason::ClientAreaEmpty;
  spec.targetRect = found->client;
  spec.targetMonitor = NearestMonitor(monitors, found->outer);
  spec.targetScaleX = spec.targetScaleY = found->scale;
  spec.targetValid = true;
  return std::nullopt;
}

std::optional<Reason> ReasonOf(FrameTurn turn) {
  switch (turn) {
    case FrameTurn::FrameSkipped:
      return Reason::FrameDivisor;
    case FrameTurn::Throttled:
      return Reason::Interval;
    case FrameTurn::OffFrame:
      return Reason::RegionOffMonitor;
    case FrameTurn::SmallerThanTemplate:
      return Reason::RegionTooSmall;
    case FrameTurn::Forced:
    case FrameTurn::Cut:
      break;
  }
  return std::nullopt;
}

}  // namespace

HMONITOR NearestMonitor(const std::vector<MonitorEntry>& monitors, const Rect& rect) {
  HMONITOR best = nullptr;
  std::int64_t mostArea = 0;
  std::int64_t leastGap = std::numeric_limits<std::int64_t>::max();
  for (const MonitorEntry& entry : monitors) {
    const RECT& monitor = entry.rcMonitor;
    const std::int64_t w = std::int64_t{std::min<std::int32_t>(rect.right, monitor.right)} -
                           std::max<std::int32_t>(rect.left, monitor.left);
    const std::int64_t h = std::int64_t{std::min<std::int32_t>(rect.bottom, monitor.bottom)} -
                           std::max<std::int32_t>(rect.top, monitor.top);
    const std::int64_t area = w > 0 && h > 0 ? w * h : 0;
    // A negative overlap is the gap between the two.
    const std::int64_t gapX = std::max<std::int64_t>(-w, 0), gapY = std::max<std::int64_t>(-h, 0);
    const std::int64_t gap = gapX * gapX + gapY * gapY;
    if (area > mostArea || (mostArea == 0 && area == 0 && gap < leastGap)) best = entry.monitor;
    mostArea = std::max(mostArea, area);
    leastGap = std::min(leastGap, gap);
  }
  return best;
}

Engine::Engine(std::vector<TemplateSpec> specs, const std::vector<RecordedMonitor>& monitors,
               Observer& hearing)
    : bound(std::move(specs)), observer(hearing) {
  for (std::size_t i = 0; i < monitors.size(); ++i) {
    const Rect& rect = monitors[i].rect;
    entries.push_back({HandleOf(i), RECT{rect.left, rect.top, rect.right, rect.bottom}});
  }
  // The primary monitor holds the desktop's origin.
  answers.primary = [this] { return NearestMonitor(entries, {0, 0, 1, 1}); };
  answers.nearest = [this](const Rect& region) { return NearestMonitor(entries, region); };
}

void Engine::BeginTick(const std::vector<RecordedWindow>& windows) {
  unwatched.clear();
  for (std::size_t i = 0; i < bound.size(); ++i) {
    if (const auto reason = BindTarget(bound[i], windows, entries)) unwatched.push_back({i, *reason});
  }
  groups = GroupByMonitor(bound, entries, answers);
  std::vector<bool> grouped(bound.size());
  for (const auto& [monitor, indices] : groups) {
    for (const std::int32_t index : indices) grouped[index] = true;
  }
  for (std::size_t i = 0; i < bound.size(); ++i) {
    if (grouped[i] || !bound[i].targetValid) continue;
    const bool outside = IsEmpty(RegionOnDesktop(bound[i]));
    unwatched.push_back({i, outside ? Reason::RegionOutsideTarget : Reason::RegionOffMonitor});
  }
  RepeatTick();
}

void Engine::RepeatTick() {
  for (const Unwatched& spec : unwatched) observer.OnSilence(spec.spec, spec.reason, nullptr);
}

bool Engine::Watches(std::size_t monitor) const {
  return groups.contains(HandleOf(monitor));
}

void Engine::PassTurn(std::size_t monitor, Reason reason) {
  const auto group = groups.find(HandleOf(monitor));
  if (group == groups.end()) return;
  for (const std::int32_t index : group->second) observer.OnSilence(index, reason, nullptr);
}

void Engine::TakeTurn(std::size_t monitor, std::int64_t tMs, const cv::Mat& bgra, std::uint64_t wallMs) {
  const auto group = groups.find(HandleOf(monitor));
  if (group == groups.end()) return;
  FrameJob job;
  job.tMs = tMs;
  job.specs = bound;
  const RECT& rect = entries[monitor].rcMonitor;
  const MonitorFrame frame{
      entries[monitor].monitor, {static_cast<int>(rect.left), static_cast<int>(rect.top)}, frameCount, bgra};
  schedule.Schedule(frame, group->second, job,
                    [&](std::int32_t index, FrameTurn turn, const RegionOnFrame& place) {
                      if (const auto reason = ReasonOf(turn)) observer.OnSilence(index, *reason, nullptr);
                      if (turn != FrameTurn::Forced) return;
                      Report(index, monitor, ForcedHit(bound[index], place, wallMs), nullptr);
                    });
  schedule.Commit(frame.monitor, job);
  ++frameCount;
  for (const ROIUnit& unit : job.units) Evaluate(unit, job, monitor, wallMs);
}

void Engine::Evaluate(const ROIUnit& unit, const FrameJob& job, std::size_t monitor, std::uint64_t wallMs) {
  const std::size_t index = static_cast<std::size_t>(unit.specIndex);
  const TemplateSpec& spec = job.specs[index];
  std::optional<Verdict> verdict;
  try {
    verdict = EvaluateRegion(unit, spec);
  } catch (const std::exception&) {
    // Of the image library: the worker goes on as well.
    observer.OnSilence(index, Reason::EvaluationFailed, nullptr);
    return;
  }
  if (verdict->Accepted()) {
    Report(index, monitor, HitOf(*verdict, spec, wallMs), &*verdict);
  } else {
    observer.OnSilence(index, *explain::ReasonOf(verdict->decidedBy), &*verdict);
  }
}

void Engine::Report(std::size_t spec, std::size_t monitor, const HitRecord& hit, const Verdict* verdict) {
  switch (duplicates.Admit(hit)) {
    case Repetition::None:
      observer.OnHit(spec, monitor, hit, verdict);
      return;
    case Repetition::SamePlace:
      observer.OnSilence(spec, Reason::DuplicateNear, verdict);
      return;
    case Repetition::Weaker:
      observer.OnSilence(spec, Reason::DuplicateWeaker, verdict);
      return;
  }
}

}  // namespace quillmark::replay
