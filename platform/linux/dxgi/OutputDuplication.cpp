#include "dxgi/OutputDuplication.h"

#include <algorithm>
#include <chrono>
#include <span>

namespace quillmark::layer {
namespace {

template <typename Rects>
HRESULT Copy(std::span<const Rects> rects, UINT size, Rects* buffer, UINT* required) {
  *required = static_cast<UINT>(rects.size_bytes());
  if (size < *required) return DXGI_ERROR_MORE_DATA;
  std::ranges::copy(rects, buffer);
  return S_OK;
}

}  // namespace

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
  const FrameFacts facts = source->duplication->Facts();
  if (facts.presented)
    info->LastPresentTime.QuadPart = std::chrono::steady_clock::now().time_since_epoch().count();
  info->AccumulatedFrames = 1;
  info->TotalMetadataBufferSize =
      static_cast<UINT>(facts.moves * sizeof(DXGI_OUTDUPL_MOVE_RECT) + facts.dirty * sizeof(RECT));
  return Give<FrameTexture>(frame, FrameName{source, source->acquired});
}

HRESULT OutputDuplication::GetFrameDirtyRects(UINT size, RECT* buffer, UINT* required) {
  if (buffer == nullptr || required == nullptr) return E_INVALIDARG;
  if (!source->held) return DXGI_ERROR_INVALID_CALL;
  std::span<const RECT> rects;
  const HRESULT result = source->duplication->Dirty(rects);
  return FAILED(result) ? result : Copy(rects, size, buffer, required);
}

HRESULT OutputDuplication::GetFrameMoveRects(UINT size, DXGI_OUTDUPL_MOVE_RECT* buffer, UINT* required) {
  if (buffer == nullptr || required == nullptr) return E_INVALIDARG;
  if (!source->held) return DXGI_ERROR_INVALID_CALL;
  std::span<const DXGI_OUTDUPL_MOVE_RECT> rects;
  const HRESULT result = source->duplication->Moves(rects);
  return FAILED(result) ? result : Copy(rects, size, buffer, required);
}

HRESULT OutputDuplication::ReleaseFrame() {
  source->held = false;
  return source->duplication->Release();
}

void* FrameTexture::Find(REFIID id) {
  return id == interfaceId<ID3D11Texture2D> ? static_cast<ID3D11Texture2D*>(this) : nullptr;
}

}  // namespace quillmark::layer
