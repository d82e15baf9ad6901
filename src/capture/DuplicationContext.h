// Captures one monitor by desktop duplication. Each frame is a matrix header over the mapped image, not a
// copy; only frames of a rotated output are copied to turn them upright.
//
// Threading: one thread at a time; Init under the engine's context lock.
#pragma once

#include <d3d11.h>
#include <dxgi1_2.h>
#include <windows.h>

#include <cstdint>
#include <opencv2/core.hpp>
#include <stdexcept>

#include "capture/CaptureOutcome.h"
#include "capture/ComPtr.h"
#include "capture/FrameChanges.h"

namespace quillmark {

// A monitor's capture cannot be opened.
class CaptureError : public std::runtime_error {
 public:
  CaptureError(const char* text, HRESULT result) : std::runtime_error(text), code(result) {}

  const HRESULT code;
};

class DuplicationContext {
 public:
  // The longest time that one monitor can hold up a tick.
  static constexpr UINT FrameTimeoutMs = 33;

  DuplicationContext() = default;
  DuplicationContext(const DuplicationContext&) = delete;
  DuplicationContext& operator=(const DuplicationContext&) = delete;
  // Releases in the order of Clear: the duplication first, the device after what it made.
  ~DuplicationContext() { Clear(); }

  // (Re)creates everything for the monitor. Always true; raises CaptureError on failure, after which it can
  // be repeated.
  bool Init(HMONITOR monitor);
  // Waits at most FrameTimeoutMs. With a frame, `out` is 8UC4 (BGRA, the fourth byte is meaningless) in
  // desktop orientation, `height` x `width`, valid until ReleaseFrame. Without one, or after an exception,
  // nothing is held.
  CaptureOutcome Acquire(cv::Mat& out);
  // Whether Acquire gave a frame.
  [[nodiscard]] bool AcquireFrame(cv::Mat& out) { return Acquire(out).IsFrame(); }
  // What the last Acquire's frame changed; never why a frame is missing. Unknown if there was none, for the
  // first frame of a duplication, after a fault, for a rotated output, and if the platform does not say.
  [[nodiscard]] const FrameChanges& Changes() const { return changes; }
  // Call it after every acquired frame.
  void ReleaseFrame();

 private:
  void Clear();
  bool FitsMonitor(const DXGI_MODE_DESC& mode) const;
  // The held frame in the mapped staging texture.
  HRESULT MapFrame(IDXGIResource* resource, cv::Mat& delivered);
  void ReadChanges(const DXGI_OUTDUPL_FRAME_INFO& info);

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
  FrameChanges changes;    // of the held frame
  bool unbroken = false;   // no frame was lost since the last one that was delivered
};

// Releases an acquired frame at the end of a scope.
class HeldFrame {
 public:
  explicit HeldFrame(DuplicationContext& holder) : context(holder) {}
  ~HeldFrame() { context.ReleaseFrame(); }
  HeldFrame(const HeldFrame&) = delete;
  HeldFrame& operator=(const HeldFrame&) = delete;

 private:
  DuplicationContext& context;
};

}  // namespace quillmark
