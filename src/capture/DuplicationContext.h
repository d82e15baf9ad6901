// Captures one monitor by desktop duplication and hands each frame out as a matrix header over the mapped
// image, without a further copy.
//
// Threading: one thread at a time; Init under the engine's context lock.
#pragma once

#include <dxgi1_2.h>
#include <windows.h>

#include <cstdint>
#include <opencv2/core.hpp>

namespace quillmark {

class DuplicationContext {
 public:
  // (Re)creates everything for the monitor. Always true; raises std::runtime_error on failure.
  bool Init(HMONITOR monitor);
  // True when a new frame was obtained within 33 ms; `out` is then 8UC4 (BGRA) in desktop orientation,
  // `height` x `width`, valid until ReleaseFrame.
  bool AcquireFrame(cv::Mat& out);
  // After every AcquireFrame that returned true.
  void ReleaseFrame();

  std::int32_t width = 0, height = 0;  // of the monitor, desktop pixels
  std::int32_t left = 0, top = 0;      // the monitor's origin, desktop pixels
};

}  // namespace quillmark
