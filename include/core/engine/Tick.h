// One tick of the worker: binds the specs to their windows, groups them by monitor, and cuts the regions of
// the due specs out of each monitor's frame. A listener gets the outcome for every spec. It has no thread
// and no clock: windows, monitors, frames and times come from the caller; whether "T1" is forced, from the
// environment.
//
// Threading: one thread at a time.
#pragma once

#include <windows.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <opencv2/core.hpp>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "capture/MonitorChoice.h"
#include "capture/TargetBinding.h"
#include "core/FrameJob.h"
#include "core/RegionCut.h"
#include "core/engine/RegionMemory.h"
#include "ipc/HitRecord.h"

namespace quillmark {

// Indices of the specs to look for on each monitor, in order.
using MonitorGroups = std::unordered_map<HMONITOR, std::vector<std::int32_t>>;

// The outcome for a spec, in the order of the checks.
enum class SpecOutcome : std::int32_t {
  Unbound,              // see the binding
  OutsideTarget,        // nothing of its region lies in the client area
  OffMonitors,          // no monitor shows anything of its region
  FrameSkipped,         // by its divisor
  Throttled,            // its interval has not passed
  OffFrame,             // the frame shows nothing of its region
  SmallerThanTemplate,  // the frame shows too little of its region
  Forced,               // to be reported without a look
  Cut,                  // its region is a unit of the job
};
struct SpecTurn {
  std::int32_t index = 0;  // of the spec
  SpecOutcome outcome = SpecOutcome::Cut;
  BindingOutcome binding = BindingOutcome::Bound;
  RegionOnFrame place{};  // from OffFrame on
};
using SpecListener = std::function<void(const SpecTurn&)>;

// Jobs that wait for the match thread, the next one first.
using JobQueue = std::deque<std::shared_ptr<FrameJob>>;

// A forced hit, at the centre of its region.
[[nodiscard]] HitRecord ForcedHit(const TemplateSpec& spec, const RegionOnFrame& place, std::uint64_t tsMs);

class Tick {
 public:
  // Finds the window of a spec.
  using Binder = std::function<TargetBinding(const TemplateSpec&)>;

  // Milliseconds from one tick's start to the next one's; more as jobs pile up.
  [[nodiscard]] static std::int64_t IntervalMs(std::size_t waitingJobs);
  // Whether matching is so far behind that no tick begins before a job has ended: the waiting jobs would take
  // longer than 250 ms, at `jobTime` each, or they hold more than 256 MiB. Pictures that jobs share count
  // once; those that the worker remembers anyway count as well.
  [[nodiscard]] static bool BeginsLate(const JobQueue& waiting, std::chrono::steady_clock::duration jobTime);

  // Begins a tick with the store's specs, the same list as long as they are the same. Calls the listener for
  // each spec that is left out, as Group does.
  void Bind(const SpecList& specs, const Binder& bind, const SpecListener& listener = {});
  void Group(const std::vector<MonitorEntry>& monitors, const MonitorAnswers& answers = SystemMonitors(),
             const SpecListener& listener = {});
  [[nodiscard]] const MonitorGroups& Groups() const { return groups; }
  // This tick's specs, bound.
  [[nodiscard]] const std::vector<TemplateSpec>& Specs() const { return *bound; }

  // Makes the job of a monitor's frame; the monitor's turn began at `tMs`. Calls the listener for each spec
  // of the monitor's group.
  [[nodiscard]] std::shared_ptr<FrameJob> Cut(const MonitorFrame& frame, std::int64_t tMs,
                                              const SpecListener& listener = {});
  // Starts the intervals of a job's specs, once it is queued: specs of a job that failed are due again at
  // once.
  void Commit(HMONITOR monitor, const FrameJob& job);

  // A frame of the monitor did not become a job: what it changed is not known.
  void LoseTrack(HMONITOR monitor) { memory.LoseTrack(monitor); }
  // Forgets what other monitors showed.
  void KeepMonitors(const std::set<HMONITOR>& monitors) { memory.KeepMonitors(monitors); }

 private:
  SpecTurn CutSpec(std::int32_t index, const MonitorFrame& frame, FrameJob& job);

  SpecList stored;  // as they were given
  // The same with their targets.
  SpecList bound = std::make_shared<const std::vector<TemplateSpec>>();
  std::vector<TargetBinding> bindings;  // of each
  MonitorGroups groups;
  std::optional<std::vector<MonitorEntry>> grouped;  // the monitors of `groups`, unless these are out of date
  // Job time by "name@monitor". Entries are never removed: about 100 bytes per name and monitor.
  std::unordered_map<std::wstring, std::int64_t> lastScheduled;
  RegionMemory memory;
};

}  // namespace quillmark
