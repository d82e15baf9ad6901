#include "replay/Engine.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <optional>
#include <utility>

#include "capture/TargetBinding.h"
#include "core/engine/RegionTask.h"
#include "explain/Steps.h"

namespace quillmark::replay {
namespace {

using reasons::Reason;

// Handles are compared and printed, never followed.
HMONITOR HandleOf(std::size_t monitor) {
  return reinterpret_cast<HMONITOR>(static_cast<std::uintptr_t>(monitor + 1));
}

// The monitor that shows most of the rectangle, or else the nearest one.
HMONITOR NearestMonitor(const std::vector<MonitorEntry>& monitors, const Rect& rect) {
  HMONITOR best = nullptr;
  std::int64_t maxArea = 0, minGap = std::numeric_limits<std::int64_t>::max();
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
    if (area > maxArea || (maxArea == 0 && area == 0 && gap < minGap)) best = entry.monitor;
    maxArea = std::max(maxArea, area);
    minGap = std::min(minGap, gap);
  }
  return best;
}

// A recorded window, with the answers of a system window.
class WindowAnswers {
 public:
  WindowAnswers(const RecordedWindow& recorded, const std::vector<MonitorEntry>& entries)
      : window(recorded), monitors(entries) {}
  [[nodiscard]] bool Shown() const { return window.visible && !window.minimised; }
  [[nodiscard]] std::wstring_view ImageFile() const { return window.program; }
  [[nodiscard]] std::wstring_view Title() const { return window.title; }
  bool OuterRect(Rect& rect) const {
    rect = window.outer;
    return true;
  }
  [[nodiscard]] static HWND Handle() { return nullptr; }
  [[nodiscard]] static bool Exists() { return true; }
  [[nodiscard]] bool Minimised() const { return window.minimised; }
  [[nodiscard]] std::optional<Rect> ClientArea() const { return window.client; }
  [[nodiscard]] HMONITOR Monitor() const { return NearestMonitor(monitors, window.outer); }
  [[nodiscard]] double Scale(HMONITOR) const { return window.scale; }

 private:
  const RecordedWindow& window;
  const std::vector<MonitorEntry>& monitors;
};

Reason ReasonOf(const SpecTurn& turn) {
  switch (turn.outcome) {
    case SpecOutcome::Unbound:
      return *explain::ReasonOf(turn.binding);
    case SpecOutcome::OutsideTarget:
      return Reason::RegionOutsideTarget;
    case SpecOutcome::FrameSkipped:
      return Reason::FrameDivisor;
    case SpecOutcome::Throttled:
      return Reason::Interval;
    case SpecOutcome::SmallerThanTemplate:
      return Reason::RegionTooSmall;
    default:
      return Reason::RegionOffMonitor;
  }
}

}  // namespace

Engine::Engine(std::vector<TemplateSpec> prepared, const std::vector<RecordedMonitor>& monitors,
               Observer& toTell)
    : specs(std::make_shared<const std::vector<TemplateSpec>>(std::move(prepared))), observer(toTell) {
  for (std::size_t i = 0; i < monitors.size(); ++i) {
    const Rect& rect = monitors[i].rect;
    entries.push_back({HandleOf(i), RECT{rect.left, rect.top, rect.right, rect.bottom}});
  }
  // The desktop's origin is on the primary monitor.
  answers.primary = [this] { return NearestMonitor(entries, {0, 0, 1, 1}); };
  answers.nearest = [this](const Rect& region) { return NearestMonitor(entries, region); };
}

void Engine::BeginTick(const std::vector<RecordedWindow>& windows) {
  std::vector<WindowAnswers> listed;
  for (const RecordedWindow& window : windows) listed.emplace_back(window, entries);
  const auto bind = [&](const TemplateSpec& spec) {
    TargetBinding binding = FindBinding(spec.target, listed);
    if (binding.outcome == BindingOutcome::NotFound) binding.outcome = WhyNoneChosen(spec.target, listed);
    return binding;
  };
  const auto leftOut = [&](const SpecTurn& turn) { observer.OnSilence(turn.index, ReasonOf(turn), nullptr); };
  tick.Bind(specs, bind, leftOut);
  tick.Group(entries, answers, leftOut);
}

bool Engine::Watches(std::size_t monitor) const {
  return tick.Groups().contains(HandleOf(monitor));
}

void Engine::PassTurn(std::size_t monitor, Reason reason) {
  const auto group = tick.Groups().find(HandleOf(monitor));
  if (group == tick.Groups().end()) return;
  for (const std::int32_t index : group->second) observer.OnSilence(index, reason, nullptr);
}

void Engine::TakeTurn(std::size_t monitor, std::int64_t tMs, const cv::Mat& bgra, std::uint64_t wallMs) {
  if (!Watches(monitor)) return;
  const MonitorEntry& entry = entries[monitor];
  const cv::Point origin(static_cast<int>(entry.rcMonitor.left), static_cast<int>(entry.rcMonitor.top));
  const auto job = tick.Cut({entry.monitor, origin, frameCount, bgra}, tMs, [&](const SpecTurn& turn) {
    if (turn.outcome == SpecOutcome::Forced) {
      Report(turn.index, ForcedHit(tick.Specs()[turn.index], turn.place, wallMs), nullptr);
    } else if (turn.outcome != SpecOutcome::Cut) {
      observer.OnSilence(turn.index, ReasonOf(turn), nullptr);
    }
  });
  ++frameCount;
  tick.Commit(entry.monitor, *job);
  for (const ROIUnit& unit : job->units) Evaluate(unit, *job, wallMs);
}

void Engine::Evaluate(const ROIUnit& unit, const FrameJob& job, std::uint64_t wallMs) {
  const std::size_t index = static_cast<std::size_t>(unit.specIndex);
  const TemplateSpec& spec = job.SpecOf(unit);
  std::optional<Verdict> verdict;
  try {
    verdict = EvaluateLook(unit, spec);
  } catch (const std::exception&) {
    // Raised by the image library; the worker continues, too.
    observer.OnSilence(index, Reason::EvaluationFailed, nullptr);
    return;
  }
  if (verdict->Accepted()) {
    Report(index, HitOf(unit, *verdict, spec, wallMs), &*verdict);
  } else {
    observer.OnSilence(index, *explain::ReasonOf(verdict->decidedBy), &*verdict);
  }
}

void Engine::Report(std::size_t spec, const HitRecord& hit, const Verdict* verdict) {
  switch (duplicates.Admit(hit)) {
    case Repetition::None:
      return observer.OnHit(spec, hit);
    case Repetition::SamePlace:
      return observer.OnSilence(spec, Reason::DuplicateNear, verdict);
    case Repetition::Weaker:
      return observer.OnSilence(spec, Reason::DuplicateWeaker, verdict);
  }
}

}  // namespace quillmark::replay
