// The desktop as the worker sees it: monitors, windows and captured frames.
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
  // With the current monitors. Raises std::runtime_error when there are none.
  LiveDesktop();

  [[nodiscard]] const std::vector<RecordedMonitor>& Monitors() const { return monitors; }
  // A line for each monitor with a capture fault, about its first one.
  [[nodiscard]] const std::vector<std::string>& Faults() const { return faults; }
  // Whether monitors were added, removed or moved; false while the display is gone.
  [[nodiscard]] bool HasChanged();

  // All top-level windows, topmost first.
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
