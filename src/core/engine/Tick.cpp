#include "core/engine/Tick.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "core/RegionGeometry.h"

namespace quillmark {
namespace {

// Above either, a tick begins late.
constexpr std::chrono::milliseconds kMostWaitingTime{250};
constexpr std::size_t kMostWaitingBytes = std::size_t{256} << 20;

std::size_t BytesHeldBy(const JobQueue& waiting) {
  std::size_t bytes = 0;
  std::set<std::uint64_t> counted;
  for (const auto& job : waiting) {
    for (const ROIUnit& unit : job->units) {
      const RegionLook& look = *unit.look;
      if (look.content == 0 || counted.insert(look.content).second) bytes += look.pixelBytes;
    }
  }
  return bytes;
}

// An environment variable makes the worker report a spec named "T1" without comparing it.
bool IsForced(const TemplateSpec& spec) {
  if (spec.name != L"T1") return false;
  const char* allowed = std::getenv("QM_FORCE_T1_ALLOW");
  return allowed != nullptr && allowed[0] == '1';
}

std::wstring KeyOf(const TemplateSpec& spec, HMONITOR monitor) {
  return spec.name + L"@" + std::to_wstring(reinterpret_cast<std::uintptr_t>(monitor));
}

}  // namespace

std::int64_t Tick::IntervalMs(std::size_t waitingJobs) {
  if (waitingJobs >= 8) return 80;
  if (waitingJobs >= 4) return 50;
  if (waitingJobs >= 2) return 33;
  return 20;
}

bool Tick::BeginsLate(const JobQueue& waiting, std::chrono::steady_clock::duration jobTime) {
  return static_cast<std::int64_t>(waiting.size()) * jobTime > kMostWaitingTime ||
         BytesHeldBy(waiting) > kMostWaitingBytes;
}

HitRecord ForcedHit(const TemplateSpec& spec, const RegionOnFrame& place, std::uint64_t tsMs) {
  const Rect& region = place.visible;
  const cv::Point centre(region.left + (region.right - region.left) / 2,
                         region.top + (region.bottom - region.top) / 2);
  const cv::Point relative = RelativeToTarget(centre, place.tmplSize, spec.targetRect);
  HitRecord hit;
  hit.name = spec.name;
  hit.cx = relative.x;
  hit.cy = relative.y;
  hit.w = place.tmplSize.width;
  hit.h = place.tmplSize.height;
  hit.sq = 0.99f;
  hit.tsMs = tsMs;
  hit.dedupWindowMs = DedupWindowMs(spec);
  return hit;
}

void Tick::Bind(const SpecList& specs, const Binder& bind, const SpecListener& listener) {
  std::vector<TargetBinding> now;
  now.reserve(specs->size());
  for (const TemplateSpec& spec : *specs) now.push_back(bind(spec));
  if (specs != stored || now != bindings) {
    grouped.reset();
    auto copies = std::make_shared<std::vector<TemplateSpec>>(*specs);
    for (std::size_t i = 0; i < now.size(); ++i) SetTarget((*copies)[i], now[i]);
    if (specs != stored) memory.KeepSpecs(*specs);
    bound = std::move(copies);
    stored = specs;
    bindings = std::move(now);
  }
  if (!listener) return;
  for (std::size_t i = 0; i < bindings.size(); ++i) {
    if (bindings[i].IsBound()) continue;
    listener({static_cast<std::int32_t>(i), SpecOutcome::Unbound, bindings[i].outcome, {}});
  }
}

void Tick::Group(const std::vector<MonitorEntry>& monitors, const MonitorAnswers& answers,
                 const SpecListener& listener) {
  if (!listener && grouped == monitors) return;
  grouped.reset();
  groups.clear();
  for (std::size_t i = 0; i < bound->size(); ++i) {
    const TemplateSpec& spec = (*bound)[i];
    if (!spec.targetValid) continue;
    SpecTurn turn{static_cast<std::int32_t>(i), SpecOutcome::OutsideTarget};
    if (const Rect region = RegionOnDesktop(spec); !IsEmpty(region)) {
      const std::vector<HMONITOR> chosen = MonitorsOf(spec, region, monitors, answers);
      for (const HMONITOR monitor : chosen) groups[monitor].push_back(turn.index);
      if (!chosen.empty()) continue;
      turn.outcome = SpecOutcome::OffMonitors;
    }
    if (listener) listener(turn);
  }
  grouped = monitors;
}

std::shared_ptr<FrameJob> Tick::Cut(const MonitorFrame& frame, std::int64_t tMs,
                                    const SpecListener& listener) {
  memory.NoteFrame(frame);
  auto job = std::make_shared<FrameJob>();
  job->tMs = tMs;
  job->specs = bound;
  for (const std::int32_t index : groups.at(frame.monitor)) {
    const SpecTurn turn = CutSpec(index, frame, *job);
    if (listener) listener(turn);
  }
  return job;
}

SpecTurn Tick::CutSpec(std::int32_t index, const MonitorFrame& frame, FrameJob& job) {
  const TemplateSpec& spec = (*bound)[index];
  SpecTurn turn{index};
  const auto ended = [&](SpecOutcome outcome) {
    turn.outcome = outcome;
    return turn;
  };
  if (spec.frameDivisor > 1 && frame.number % static_cast<std::uint64_t>(spec.frameDivisor) != 0) {
    return ended(SpecOutcome::FrameSkipped);
  }
  if (spec.intervalMs >= 1) {
    const auto last = lastScheduled.find(KeyOf(spec, frame.monitor));
    if (last != lastScheduled.end() && job.tMs - last->second < spec.intervalMs) {
      return ended(SpecOutcome::Throttled);
    }
  }
  turn.place = PlaceRegion(spec, {frame.origin.x, frame.origin.y, frame.origin.x + frame.bgra.cols,
                                  frame.origin.y + frame.bgra.rows});
  if (turn.place.OffFrame()) return ended(SpecOutcome::OffFrame);
  if (!turn.place.HoldsTemplate()) return ended(SpecOutcome::SmallerThanTemplate);
  if (IsForced(spec)) return ended(SpecOutcome::Forced);

  ROIUnit unit = UnitAt(spec, turn.place);
  unit.specIndex = index;
  unit.look = memory.LookAt(frame, spec, unit);
  job.units.push_back(std::move(unit));
  return ended(SpecOutcome::Cut);
}

void Tick::Commit(HMONITOR monitor, const FrameJob& job) {
  for (const ROIUnit& unit : job.units) {
    const TemplateSpec& spec = job.SpecOf(unit);
    if (spec.intervalMs >= 1) lastScheduled[KeyOf(spec, monitor)] = job.tMs;
  }
}

}  // namespace quillmark
