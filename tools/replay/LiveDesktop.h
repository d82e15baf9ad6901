// The desktop as the worker sees it, by the worker's own calls: its monitors, its windows, and the pictures
// that the capture hands out.
//
// Threading: one thread.
#pragma once

#include <windows.h>

#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "capture/DuplicationContext.h"
#include "replay/Recording.h"

namespace quillmark::replay {

class LiveDesktop {
 public:
  // With the monitors of this moment. Raises std::runtime_error when there is none.
  LiveDesktop();

  [[nodiscard]] const std::vector<RecordedMonitor>& Monitors() const { return monitors; }
  // What became of monitors that cannot be captured: a line for each.
  [[nodiscard]] const std::vector<std::string>& Faults() const { return faults; }
  // Whether monitors have come, gone or moved since.
  [[nodiscard]] bool HasChanged() const;

  // All top-level windows, the topmost first.
  [[nodiscard]] static std::vector<RecordedWindow> Windows();

  // Whether the monitor had a new picture within 33 ms; `bgra` is then a copy of it, 8UC4.
  [[nodiscard]] bool Acquire(std::size_t monitor, cv::Mat& bgra);

 private:
  std::vector<RecordedMonitor> monitors;
  std::vector<std::unique_ptr<DuplicationContext>> contexts;  // null where there is none
  std::vector<std::string> faults;
};

}  // namespace quillmark::replay
