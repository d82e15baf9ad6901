// The duplication of an output and the textures of its frames. No pixels are copied: a frame's texture refers
// to the frame, CopyResource passes the reference to the staging texture, and Map returns the desktop's
// image. A frame can therefore be mapped only while it is held.
//
// Threading: one thread at a time for a duplication and everything made from it.
#pragma once

#include <d3d11.h>
#include <dxgi1_2.h>

#include <cstdint>
#include <memory>

#include "desktop/Desktop.h"
#include "dxgi/ComObject.h"

namespace quillmark::layer {

// The desktop's frames, shared by the objects that refer to them.
struct FrameSource {
  std::unique_ptr<Duplication> duplication;
  std::uint64_t acquired = 0;  // number of the last frame acquired
  bool held = false;
};

// Refers to a frame by its number; to none if the source is null.
struct FrameName {
  std::shared_ptr<FrameSource> source;
  std::uint64_t number = 0;

  bool IsHeld() const { return source && source->held && source->acquired == number; }
};

class OutputDuplication final : public ComObject<IDXGIOutputDuplication> {
 public:
  OutputDuplication(std::shared_ptr<FrameSource> frames, DXGI_MODE_ROTATION outputRotation);

  void GetDesc(DXGI_OUTDUPL_DESC* desc) override;
  HRESULT AcquireNextFrame(UINT timeoutMs, DXGI_OUTDUPL_FRAME_INFO* info, IDXGIResource** frame) override;
  HRESULT GetFrameDirtyRects(UINT size, RECT* buffer, UINT* required) override;
  HRESULT GetFrameMoveRects(UINT size, DXGI_OUTDUPL_MOVE_RECT* buffer, UINT* required) override;
  HRESULT ReleaseFrame() override;

 private:
  const std::shared_ptr<FrameSource> source;
  const DXGI_MODE_ROTATION rotation;
};

class FrameTexture final : public ComObject<IDXGIResource, ID3D11Texture2D> {
 public:
  explicit FrameTexture(FrameName named) : frame(std::move(named)) {}

  const FrameName frame;

 protected:
  void* Find(REFIID id) override;
};

}  // namespace quillmark::layer
