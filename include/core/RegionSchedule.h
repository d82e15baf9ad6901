// Decides which specs are looked for in which frame, and cuts their regions out of it: groups the specs by
// monitor, asks of each whether it is due, and makes its unit of the frame's job. It reads no clock: windows
// are bound to the specs before, time and frames come from the caller. Of the platform it asks which monitor
// a pinned spec means, unless the caller answers that, and of the environment whether "T1" is forced.
//
// Threading: one thread at a time.
#pragma once

#include <windows.h>

#include <cstdint>
#include <opencv2/core.hpp>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "capture/MonitorChoice.h"
#include "core/FrameJob.h"
#include "core/RegionCut.h"
#include "ipc/HitRecord.h"

namespace quillmark {

// Indices of the specs to look for on each monitor, in the specs' order.
using MonitorGroups = std::unordered_map<HMONITOR, std::vector<std::int32_t>>;

// Specs without a valid target, or with a region that lies outside of it, are in no group.
[[nodiscard]] MonitorGroups GroupByMonitor(const std::vector<TemplateSpec>& specs,
                                           const std::vector<MonitorEntry>& monitors,
                                           const MonitorAnswers& answers = SystemMonitors());

// One monitor's frame.
struct MonitorFrame {
  HMONITOR monitor = nullptr;
  cv::Point origin;          // of the monitor, desktop pixels
  std::uint64_t number = 0;  // of the frame, counted over all monitors
  cv::Mat bgra;              // 8UC4; the fourth byte means nothing
};

// What became of a spec in a frame, in the order in which it is asked.
enum class FrameTurn : std::int32_t {
  FrameSkipped,         // not a frame of its divisor
  Throttled,            // its interval has not passed
  OffFrame,             // the monitor shows nothing of its region
  SmallerThanTemplate,  // what the monitor shows of its region cannot hold the template
  Forced,               // to be reported unseen
  Cut,                  // its region is a unit of the job
};

// A hit that is reported unseen, at the centre of its region.
[[nodiscard]] HitRecord ForcedHit(const TemplateSpec& spec, const RegionOnFrame& place, std::uint64_t tsMs);

class RegionSchedule {
 public:
  // Milliseconds from one tick's beginning to the next one's, which slows down as jobs pile up.
  [[nodiscard]] static std::int64_t TickIntervalMs(std::size_t waitingJobs);

  // Looks at the frame for the specs `indices` of the job; `job` brings specs and time, and gets the units.
  // Calls turned(index, FrameTurn, const RegionOnFrame&) for each; the place is known from OffFrame on.
  template <typename Turned>
  void Schedule(const MonitorFrame& frame, const std::vector<std::int32_t>& indices, FrameJob& job,
                const Turned& turned) {
    const FrameImages& images = Convert(frame, indices, job);
    for (const std::int32_t index : indices) {
      RegionOnFrame place;
      const FrameTurn turn = ScheduleSpec(index, frame, images, job, place);
      turned(index, turn, place);
    }
  }

  // Begins the intervals of the specs that a frame's job holds. To be called once the job is queued: regions
  // that were cut for a job that came to nothing are due again at once.
  void Commit(HMONITOR monitor, const FrameJob& job);

  // Forgets all monitors but these.
  void KeepMonitors(const std::set<HMONITOR>& monitors);

 private:
  const FrameImages& Convert(const MonitorFrame& frame, const std::vector<std::int32_t>& indices,
                             const FrameJob& job);
  FrameTurn ScheduleSpec(std::int32_t index, const MonitorFrame& frame, const FrameImages& images,
                         FrameJob& job, RegionOnFrame& place);

  std::unordered_map<std::wstring, std::int64_t> lastScheduled;  // job time by "name@monitor"
  std::unordered_map<HMONITOR, FrameImages> frameImages;         // reused from frame to frame
};

}  // namespace quillmark
