// The desktop as the worker sees it, by the worker's own calls: its monitors, its windows, and the pictures
// that the capture hands out.
//
// Threading: one thread.
#pragma once

#include <windows.h>

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "live/MonitorCapture.h"
#include "replay/Recording.h"

namespace quillmark::replay {

class LiveDesktop {
 public:
  // With the monitors of this moment. Raises std::runtime_error when there is none.
  LiveDesktop();

  [[nodiscard]] const std::vector<RecordedMonitor>& Monitors() const { return monitors; }
  // What interfered with the capture of monitors: a line for each, about the first fault.
  [[nodiscard]] const std::vector<std::string>& Faults() const { return faults; }
  // Whether monitors have come, gone or moved since; not while the whole display is away.
  [[nodiscard]] bool HasChanged();

  // All top-level windows, the topmost first.
  [[nodiscard]] static std::vector<RecordedWindow> Windows();

  // The monitor's next frame within 33 ms; `bgra` becomes a copy of it, 8UC4.
  CaptureOutcome Acquire(std::size_t monitor, cv::Mat& bgra);

 private:
  void NoteFault(std::size_t monitor);

  std::vector<RecordedMonitor> monitors;
  std::vector<live::MonitorCapture> captures;
  std::vector<bool> noted;  // whether there is a line about the monitor
  std::vector<std::string> faults;
};

}  // namespace quillmark::replay
