// Captures one monitor by desktop duplication and hands each frame out as a matrix header over the mapped
// image, without a further copy; only the frames of a rotated output are copied, by turning them upright.
//
// Threading: one thread at a time; Init under the engine's context lock.
#pragma once

#include <d3d11.h>
#include <dxgi1_2.h>
#include <windows.h>

#include <cstdint>
#include <opencv2/core.hpp>

#include "capture/ComPtr.h"

namespace quillmark {

class DuplicationContext {
 public:
  // Bounds how long one monitor holds up a tick.
  static constexpr UINT FrameTimeoutMs = 33;

  DuplicationContext() = default;
  DuplicationContext(const DuplicationContext&) = delete;
  DuplicationContext& operator=(const DuplicationContext&) = delete;
  ~DuplicationContext();

  // (Re)creates everything for the monitor. Always true; raises std::runtime_error on failure, and may be
  // called again then.
  bool Init(HMONITOR monitor);
  // True when a new frame was obtained within FrameTimeoutMs; `out` is then 8UC4 (BGRA, the fourth byte means
  // nothing) in desktop orientation, `height` x `width`, valid until ReleaseFrame. Otherwise, also when it
  // raises, nothing is held.
  bool AcquireFrame(cv::Mat& out);
  // After every AcquireFrame that returned true.
  void ReleaseFrame();

 private:
  void Clear();
  bool FitsMonitor(const DXGI_MODE_DESC& mode) const;
  // The held frame as it lies in the mapped staging texture; false when it cannot be mapped.
  bool MapFrame(IDXGIResource* resource, cv::Mat& delivered);

  ComPtr<ID3D11Device> device;
  ComPtr<ID3D11DeviceContext> context;
  ComPtr<IDXGIOutputDuplication> dupl;
  ComPtr<IDXGIOutput1> output1;
  ComPtr<IDXGIAdapter1> adapter;
  DXGI_OUTPUT_DESC outputDesc{};
  ComPtr<ID3D11Texture2D> stagingFull;

 public:
  std::int32_t width = 0, height = 0;  // of the monitor, desktop pixels
  std::int32_t left = 0, top = 0;      // the monitor's origin, desktop pixels

 private:
  cv::Size deliveredSize;  // of the staging texture: the monitor's, sides swapped at 90 and 270 degrees
  cv::Mat upright;         // the held frame of a rotated output, in desktop orientation
};

}  // namespace quillmark
