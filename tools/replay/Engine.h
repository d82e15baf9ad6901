// The worker's engine without threads, clock and screen: the caller passes in windows, frames and times, and
// gets a hit or a reason for silence for each spec. The worker's own code chooses windows, cuts regions,
// schedules and evaluates specs and suppresses repeats; this class only calls it in the worker's order.
//
// Threading: one thread.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "core/RegionEvaluation.h"
#include "core/engine/Tick.h"
#include "ipc/DuplicateFilter.h"
#include "reasons/Reasons.h"
#include "replay/Recording.h"

namespace quillmark::replay {

// Called with the outcome of specs; `spec` is an index into those of the engine.
class Observer {
 public:
  virtual ~Observer() = default;
  // A hit that the worker would have reported.
  virtual void OnHit(std::size_t spec, const HitRecord& hit) = 0;
  // Why there was no hit. The verdict is null unless the region was compared.
  virtual void OnSilence(std::size_t spec, reasons::Reason reason, const Verdict* verdict) = 0;
};

class Engine {
 public:
  // Prepared specs, monitors in the system's order.
  Engine(std::vector<TemplateSpec> specs, const std::vector<RecordedMonitor>& monitors, Observer& observer);

  // Begins a tick with these windows. Reports the specs that no monitor can show.
  void BeginTick(const std::vector<RecordedWindow>& windows);
  // Whether any spec is searched for on the monitor in this tick.
  [[nodiscard]] bool Watches(std::size_t monitor) const;
  // The monitor's turn in this tick brought no frame, for this reason.
  void PassTurn(std::size_t monitor, reasons::Reason reason);
  // The monitor's turn, begun at `tMs`, brought a frame, 8UC4 of the monitor's size. Hits get the time
  // `wallMs`.
  void TakeTurn(std::size_t monitor, std::int64_t tMs, const cv::Mat& bgra, std::uint64_t wallMs);

 private:
  void Evaluate(const ROIUnit& unit, const FrameJob& job, std::uint64_t wallMs);
  void Report(std::size_t spec, const HitRecord& hit, const Verdict* verdict);

  const SpecList specs;
  std::vector<MonitorEntry> entries;
  MonitorAnswers answers;
  Observer& observer;

  Tick tick;
  std::uint64_t frameCount = 0;
  DuplicateFilter duplicates;
};

}  // namespace quillmark::replay
