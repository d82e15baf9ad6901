// Captures a monitor with the worker's code. A capture that fails is reopened as CaptureRetry decides.
//
// Threading: one thread at a time.
#pragma once

#include <windows.h>

#include <chrono>
#include <memory>
#include <opencv2/core.hpp>
#include <string>

#include "capture/CaptureRetry.h"
#include "capture/DuplicationContext.h"

namespace quillmark::live {

class MonitorCapture {
 public:
  explicit MonitorCapture(HMONITOR itsMonitor) : monitor(itsMonitor) {}

  // Opens the capture if due; false, with a fault, while it is not open.
  bool Open();
  // Copies the next frame within 33 ms to `bgra`, 8UC4, upright. Failed if the capture cannot be opened.
  CaptureOutcome Acquire(cv::Mat& bgra);
  // Why there was no frame, for people; empty after a frame.
  [[nodiscard]] const std::string& Fault() const { return fault; }
  // The monitor's top-left corner at the last frame, desktop pixels.
  [[nodiscard]] cv::Point Origin() const { return origin; }
  // Continues with the monitor's new handle.
  void Follow(HMONITOR handle);

 private:
  HMONITOR monitor;
  std::unique_ptr<DuplicationContext> context;  // null while it is not open
  CaptureRetry retry;
  CaptureOutcome last;
  std::string fault;
  cv::Point origin;
};

struct MonitorPicture {
  cv::Mat bgra{};            // 8UC4 of the monitor's size; empty when there was no frame
  cv::Point origin{};        // of the monitor, desktop pixels
  CaptureOutcome outcome{};  // the last one with something new
  std::string fault{};       // the same for people; empty with a frame
};

// Captures the monitor, within two seconds. With `quiet` above 0 it waits until nothing has changed for that
// long; if the screen keeps changing, it returns the last frame.
[[nodiscard]] MonitorPicture TakePicture(HMONITOR monitor, std::chrono::milliseconds quiet = {});

}  // namespace quillmark::live
