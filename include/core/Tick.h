// One tick of the worker: binds the specs to their windows, groups them by monitor, and for each monitor's
// frame decides which specs are due and cuts their regions out of it. Whoever listens is told of every spec
// what became of it. It has no thread and no clock: windows, monitors, frames and times come from the caller.
// Of the environment it asks whether "T1" is forced.
//
// Threading: one thread at a time.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <opencv2/core.hpp>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "capture/MonitorChoice.h"
#include "capture/TargetBinding.h"
#include "core/FrameJob.h"
#include "core/RegionCut.h"
#include "ipc/HitRecord.h"

namespace quillmark {

// Indices of the specs to look for on each monitor, in the specs' order.
using MonitorGroups = std::unordered_map<HMONITOR, std::vector<std::int32_t>>;

// One monitor's frame.
struct MonitorFrame {
  HMONITOR monitor = nullptr;
  cv::Point origin;          // of the monitor, desktop pixels
  std::uint64_t number = 0;  // of the frame, counted over all monitors
  cv::Mat bgra;              // 8UC4; the fourth byte means nothing
};

// What became of a spec, in the order in which it is asked.
enum class SpecOutcome : std::int32_t {
  Unbound,              // see the binding
  OutsideTarget,        // nothing of its region lies in the client area
  OffMonitors,          // no monitor shows anything of its region
  FrameSkipped,         // not a frame of its divisor
  Throttled,            // its interval has not passed
  OffFrame,             // the monitor shows nothing of its region
  SmallerThanTemplate,  // what the monitor shows of its region cannot hold the template
  Forced,               // to be reported unseen
  Cut,                  // its region is a unit of the job
};
struct SpecTurn {
  std::int32_t index = 0;  // of the spec
  SpecOutcome outcome = SpecOutcome::Cut;
  BindingOutcome binding = BindingOutcome::Bound;
  RegionOnFrame place{};  // from OffFrame on
};
using SpecListener = std::function<void(const SpecTurn&)>;

// A hit that is reported unseen, at the centre of its region.
[[nodiscard]] HitRecord ForcedHit(const TemplateSpec& spec, const RegionOnFrame& place, std::uint64_t tsMs);

class Tick {
 public:
  // Binds one spec to its window and sets its target fields.
  using Binder = std::function<TargetBinding(TemplateSpec&)>;

  // Milliseconds from one tick's beginning to the next one's, which slows down as jobs pile up.
  [[nodiscard]] static std::int64_t IntervalMs(std::size_t waitingJobs);

  // Begins a tick with these specs, prepared as the store holds them. The listener is called for each spec
  // that is left out.
  void Bind(std::vector<TemplateSpec> specs, const Binder& bind, const SpecListener& listener = {});
  // Likewise.
  void Group(const std::vector<MonitorEntry>& monitors, const MonitorAnswers& answers = SystemMonitors(),
             const SpecListener& listener = {});
  [[nodiscard]] const MonitorGroups& Groups() const { return groups; }
  // The specs of this tick, bound.
  [[nodiscard]] const std::vector<TemplateSpec>& Specs() const { return bound; }

  // Makes the job of a monitor's frame, whose turn began at `tMs`. The listener is called for each spec of
  // the monitor's group.
  [[nodiscard]] std::shared_ptr<FrameJob> Cut(const MonitorFrame& frame, std::int64_t tMs,
                                              const SpecListener& listener = {});
  // Begins the intervals of the specs that a frame's job holds. To be called once the job is queued: regions
  // that were cut for a job that came to nothing are due again at once.
  void Commit(HMONITOR monitor, const FrameJob& job);

  // Frees the buffers of all monitors but these.
  void KeepMonitors(const std::set<HMONITOR>& monitors);

 private:
  SpecTurn CutSpec(std::int32_t index, const MonitorFrame& frame, const FrameImages& images, FrameJob& job);

  std::vector<TemplateSpec> bound;  // the specs of this tick
  MonitorGroups groups;
  // Job time by "name@monitor". Entries stay, about 100 bytes for each name ever given an interval.
  std::unordered_map<std::wstring, std::int64_t> lastScheduled;
  std::unordered_map<HMONITOR, FrameImages> frameImages;  // reused from frame to frame
};

}  // namespace quillmark
