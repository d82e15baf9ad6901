// What the worker remembers of the screen, so that a spec is evaluated again only when its region shows
// something else. A verdict depends on the spec, the region's pixels and whether the region is clipped,
// nothing else: where the hit is reported, and when, is computed anew for each report.
//
// Specs whose regions are the same rectangle at the same scale share one picture of it. Each frame says what
// it changed: a region that no change touches is not even compared. What was touched, or may have been, is
// compared pixel by pixel.
//
// Threading: RegionMemory by one thread at a time. A RegionLook is made by that thread, and evaluated by one
// task at a time; others see its verdict once the task has ended.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

#include "capture/FrameChanges.h"
#include "core/FrameJob.h"
#include "core/PlacementMap.h"
#include "core/RegionEvaluation.h"
#include "core/RegionPicture.h"

namespace quillmark {

// A part of the memory that all remembered pictures and maps of the process may take; given back on
// destruction.
class MemoryShare {
 public:
  // About what 16 regions of 400x300 in colour, or two whole screens of 1920x1080, need with their maps of
  // distances. What does not fit is evaluated on every frame; nothing else is thrown out for it.
  static constexpr std::size_t Budget = std::size_t{64} << 20;

  MemoryShare() = default;
  MemoryShare(const MemoryShare&) = delete;
  MemoryShare& operator=(const MemoryShare&) = delete;
  ~MemoryShare() { GrowTo(0); }

  // False, and unchanged, when that does not fit into the budget.
  bool GrowTo(std::size_t bytes);
  // Of the whole process.
  [[nodiscard]] static std::size_t Taken();

 private:
  std::size_t taken = 0;
};

// What the last search of a region by one spec found at every placement, so that the next one searches only
// where something changed.
struct SearchTrace {
  PlacementMap map;
  std::uint64_t content = 0;  // of the region, that `map` is about; 0 after an evaluation that raised
  MemoryShare share;
};

// A look at a region for one spec. Frames that show the same share it.
struct RegionLook {
  explicit RegionLook(std::shared_ptr<RegionPicture> shown)
      : pixelBytes(std::size_t{4} * shown->Size().area()), picture(std::move(shown)) {}

  const std::size_t pixelBytes;    // of the picture
  PictureUse picture;              // until there is a verdict
  std::optional<Verdict> verdict;  // none before the evaluation, and after one that raised

  // None when all placements are searched.
  std::shared_ptr<SearchTrace> trace;
  std::uint64_t content = 0, before = 0;  // of the region: now, and at the look before
  std::vector<cv::Rect> changed;          // between the two, relative to the region
};

// One monitor's frame.
struct MonitorFrame {
  HMONITOR monitor = nullptr;
  cv::Point origin;          // of the monitor, desktop pixels
  std::uint64_t number = 0;  // counted over all monitors
  cv::Mat bgra;              // 8UC4; the fourth byte is ignored
  FrameChanges changes{};    // since the monitor's previous frame
  std::int64_t tickMs = 0;   // steady-clock milliseconds of the tick's beginning
};

class RegionMemory {
 public:
  RegionMemory();
  ~RegionMemory();

  // Call it with every frame of a monitor, before LookAt.
  void NoteFrame(const MonitorFrame& frame);
  // A frame of the monitor was lost: anything may have changed.
  void LoseTrack(HMONITOR monitor);

  // What the spec's region shows on the frame: an earlier look if it shows the same. `unit` says where the
  // region is and is inside the frame. A spec with revision 0 is not remembered.
  [[nodiscard]] std::shared_ptr<RegionLook> LookAt(const MonitorFrame& frame, const TemplateSpec& spec,
                                                   const ROIUnit& unit);

  // Forgets all other specs, and all other monitors.
  void KeepSpecs(const std::vector<TemplateSpec>& specs);
  void KeepMonitors(const std::set<HMONITOR>& kept);

 private:
  struct Region;
  struct SpecMemory;
  struct MonitorMemory;

  // Null when it does not fit into the budget.
  std::shared_ptr<Region> RegionOf(MonitorMemory& monitor, const SpecMemory& known, PlaneNeeds needs,
                                   const ROIUnit& unit, const cv::Mat& shown, std::int64_t nowMs);
  static void TakeOver(MonitorMemory& monitor, Region& region, const cv::Mat& shown,
                       const std::vector<cv::Rect>& parts);
  static void Refresh(MonitorMemory& monitor, Region& region, const cv::Mat& shown, std::int64_t nowMs);

  std::unordered_map<HMONITOR, MonitorMemory> monitors;
};

}  // namespace quillmark
