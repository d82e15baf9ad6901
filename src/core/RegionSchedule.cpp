#include "core/RegionSchedule.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "core/RegionGeometry.h"

namespace quillmark {
namespace {

// A spec named "T1" is reported unseen where the environment asks for it.
bool IsForced(const TemplateSpec& spec) {
  if (spec.name != L"T1") return false;
  const char* allowed = std::getenv("QM_FORCE_T1_ALLOW");
  return allowed != nullptr && allowed[0] == '1';
}

// The end of its specs' keys in lastScheduled.
std::wstring KeySuffix(HMONITOR monitor) {
  return L"@" + std::to_wstring(reinterpret_cast<std::uintptr_t>(monitor));
}

}  // namespace

std::int64_t RegionSchedule::TickIntervalMs(std::size_t waitingJobs) {
  if (waitingJobs >= 8) return 80;
  if (waitingJobs >= 4) return 50;
  if (waitingJobs >= 2) return 33;
  return 20;
}

MonitorGroups GroupByMonitor(const std::vector<TemplateSpec>& specs,
                             const std::vector<MonitorEntry>& monitors, const MonitorAnswers& answers) {
  MonitorGroups groups;
  for (std::size_t i = 0; i < specs.size(); ++i) {
    const TemplateSpec& spec = specs[i];
    if (!spec.targetValid) continue;
    const Rect region = RegionOnDesktop(spec);
    if (IsEmpty(region)) continue;
    const auto index = static_cast<std::int32_t>(i);
    for (const HMONITOR monitor : MonitorsOf(spec, region, monitors, answers)) {
      groups[monitor].push_back(index);
    }
  }
  return groups;
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

void RegionSchedule::Commit(HMONITOR monitor, const FrameJob& job) {
  for (const ROIUnit& unit : job.units) {
    const TemplateSpec& spec = job.specs[unit.specIndex];
    if (spec.intervalMs >= 1) lastScheduled[spec.name + KeySuffix(monitor)] = job.tMs;
  }
}

void RegionSchedule::KeepMonitors(const std::set<HMONITOR>& monitors) {
  std::erase_if(frameImages, [&](const auto& entry) { return !monitors.contains(entry.first); });
  std::vector<std::wstring> suffixes;
  for (const HMONITOR monitor : monitors) suffixes.push_back(KeySuffix(monitor));
  std::erase_if(lastScheduled, [&](const auto& entry) {
    return std::ranges::none_of(suffixes,
                                [&](const std::wstring& suffix) { return entry.first.ends_with(suffix); });
  });
}

const FrameImages& RegionSchedule::Convert(const MonitorFrame& frame,
                                           const std::vector<std::int32_t>& indices, const FrameJob& job) {
  const bool needsHsv = std::any_of(indices.begin(), indices.end(),
                                    [&](std::int32_t index) { return NeedsHsv(job.specs[index]); });
  FrameImages& images = frameImages[frame.monitor];
  ConvertFrame(frame.bgra, needsHsv, images);
  return images;
}

FrameTurn RegionSchedule::ScheduleSpec(std::int32_t index, const MonitorFrame& frame,
                                       const FrameImages& images, FrameJob& job, RegionOnFrame& place) {
  const TemplateSpec& spec = job.specs[index];
  if (spec.frameDivisor > 1 && frame.number % static_cast<std::uint64_t>(spec.frameDivisor) != 0) {
    return FrameTurn::FrameSkipped;
  }
  if (spec.intervalMs >= 1) {
    const auto last = lastScheduled.find(spec.name + KeySuffix(frame.monitor));
    if (last != lastScheduled.end() && job.tMs - last->second < spec.intervalMs) return FrameTurn::Throttled;
  }
  place = PlaceRegion(spec, {frame.origin.x, frame.origin.y, frame.origin.x + images.bgr.cols,
                             frame.origin.y + images.bgr.rows});
  if (place.OffFrame()) return FrameTurn::OffFrame;
  if (!place.HoldsTemplate()) return FrameTurn::SmallerThanTemplate;
  if (IsForced(spec)) return FrameTurn::Forced;

  ROIUnit unit = CutRegion(spec, place, images, frame.origin);
  unit.specIndex = index;
  job.units.push_back(std::move(unit));
  return FrameTurn::Cut;
}

}  // namespace quillmark
