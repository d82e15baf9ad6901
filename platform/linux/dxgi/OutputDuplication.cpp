#include "dxgi/OutputDuplication.h"

namespace quillmark::layer {

OutputDuplication::OutputDuplication(std::shared_ptr<FrameSource> frames, DXGI_MODE_ROTATION outputRotation)
    : source(std::move(frames)), rotation(outputRotation) {}

void OutputDuplication::GetDesc(DXGI_OUTDUPL_DESC* desc) {
  if (desc == nullptr) return;
  *desc = {};
  desc->ModeDesc.Width = source->duplication->Width();
  desc->ModeDesc.Height = source->duplication->Height();
  desc->ModeDesc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
  desc->Rotation = rotation;
}

HRESULT OutputDuplication::AcquireNextFrame(UINT timeoutMs, DXGI_OUTDUPL_FRAME_INFO* info,
                                            IDXGIResource** frame) {
  if (info == nullptr || frame == nullptr) return E_INVALIDARG;
  *info = {};
  *frame = nullptr;
  const HRESULT result = source->duplication->Acquire(timeoutMs);
  if (FAILED(result)) return result;
  source->held = true;
  ++source->acquired;
  info->AccumulatedFrames = 1;
  return Give<FrameTexture>(frame, FrameName{source, source->acquired});
}

HRESULT OutputDuplication::ReleaseFrame() {
  source->held = false;
  return source->duplication->Release();
}

void* FrameTexture::Find(REFIID id) {
  return id == interfaceId<ID3D11Texture2D> ? static_cast<ID3D11Texture2D*>(this) : nullptr;
}

}  // namespace quillmark::layer
