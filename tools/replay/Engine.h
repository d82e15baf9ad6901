// The worker's engine without its threads, its clock and its screen: windows, frames and times are given to
// it, and it says what became of each spec, hit or reason for silence. The choice of windows, the geometry,
// the schedule, the evaluation and the rule of duplicates are the worker's own code; here is only what hands
// them their input in the worker's order.
//
// Threading: one thread.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "core/RegionEvaluation.h"
#include "core/Tick.h"
#include "ipc/DuplicateFilter.h"
#include "reasons/Reasons.h"
#include "replay/Recording.h"

namespace quillmark::replay {

// Hears what became of the specs; `spec` and `monitor` are indices of what the engine was made with.
class Observer {
 public:
  virtual ~Observer() = default;
  // A hit that the worker would have reported. A spec that is reported unseen has no verdict.
  virtual void OnHit(std::size_t spec, std::size_t monitor, const HitRecord& hit, const Verdict* verdict) = 0;
  // Why there was none; the verdict is given where the region was compared.
  virtual void OnSilence(std::size_t spec, explain::Reason reason, const Verdict* verdict) = 0;
};

class Engine {
 public:
  // Specs prepared as the store holds them, monitors in the system's order.
  Engine(std::vector<TemplateSpec> specs, const std::vector<RecordedMonitor>& monitors, Observer& observer);

  // Begins a tick with these windows. Specs that are looked for on no monitor are heard of here.
  void BeginTick(const std::vector<RecordedWindow>& windows);
  // Whether a spec is looked for on the monitor in this tick.
  [[nodiscard]] bool Watches(std::size_t monitor) const;
  // The monitor's turn in this tick brought no picture, for that reason.
  void PassTurn(std::size_t monitor, explain::Reason reason);
  // The monitor's turn, begun at `tMs`, brought a picture, 8UC4 and of the monitor's size; hits are reported
  // with the time `wallMs`.
  void TakeTurn(std::size_t monitor, std::int64_t tMs, const cv::Mat& bgra, std::uint64_t wallMs);

 private:
  void Evaluate(const ROIUnit& unit, const FrameJob& job, std::size_t monitor, std::uint64_t wallMs);
  void Report(std::size_t spec, std::size_t monitor, const HitRecord& hit, const Verdict* verdict);

  const std::vector<TemplateSpec> specs;
  std::vector<MonitorEntry> entries;
  MonitorAnswers answers;
  Observer& observer;

  Tick tick;
  std::uint64_t frameCount = 0;
  DuplicateFilter duplicates;
};

// The monitor that shows most of the rectangle, or else the nearest one.
[[nodiscard]] HMONITOR NearestMonitor(const std::vector<MonitorEntry>& monitors, const Rect& rect);

}  // namespace quillmark::replay
