// A picture of one monitor, taken as the worker takes it.
//
// Threading: free functions without state; they block for as long as it takes.
#pragma once

#include <chrono>
#include <opencv2/core.hpp>

#include "DesktopMonitors.h"

namespace quillmark::control {

// The monitor's picture, 8UC4 of its size. With `quiet` above 0 it is the one after which nothing changed for
// so long, or the last one of two seconds on a screen that never rests. Raises std::runtime_error when the
// monitor cannot be captured.
[[nodiscard]] cv::Mat CaptureMonitor(const DesktopMonitor& monitor, std::chrono::milliseconds quiet = {});

}  // namespace quillmark::control
