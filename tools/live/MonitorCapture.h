// Captures a monitor for a tool, with the worker's code and rules: a capture that fails is dropped and opened
// again as CaptureRetry decides.
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

  // Opens the capture where it is due; false, with the fault, while it is not open.
  bool Open();
  // The next frame within 33 ms: `bgra` becomes a copy of it, 8UC4, in desktop orientation. A capture that
  // cannot be opened gives Failed.
  CaptureOutcome Acquire(cv::Mat& bgra);
  // What stood in the way of the last frame, in words; empty when nothing did.
  [[nodiscard]] const std::string& Fault() const { return fault; }
  // Of the monitor when the last frame was taken, desktop pixels.
  [[nodiscard]] cv::Point Origin() const { return origin; }
  // The same monitor goes by this handle now.
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
  CaptureOutcome outcome{};  // the last that brought something new
  std::string fault{};       // the same in words; empty with a frame
};

// The monitor's picture within two seconds. With `quiet` above 0 it is the one after which nothing changed
// for so long, or the last one on a screen that never rests.
[[nodiscard]] MonitorPicture TakePicture(HMONITOR monitor, std::chrono::milliseconds quiet = {});

}  // namespace quillmark::live
