#include "capture/DuplicationContext.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

namespace quillmark {
namespace {

// The output that shows the monitor, and the adapter that drives it; false when there is none.
bool FindOutput(HMONITOR monitor, ComPtr<IDXGIAdapter1>& adapter, ComPtr<IDXGIOutput1>& output1,
                DXGI_OUTPUT_DESC& desc) {
  ComPtr<IDXGIFactory1> factory;
  if (FAILED(::CreateDXGIFactory1(IID_PPV_ARGS(factory.Put())))) return false;
  for (UINT a = 0; SUCCEEDED(factory->EnumAdapters1(a, adapter.Put())); ++a) {
    ComPtr<IDXGIOutput> output;
    for (UINT o = 0; SUCCEEDED(adapter->EnumOutputs(o, output.Put())); ++o) {
      if (FAILED(output->GetDesc(&desc)) || desc.Monitor != monitor) continue;
      if (SUCCEEDED(output.As(output1))) return true;
    }
  }
  return false;
}

D3D11_TEXTURE2D_DESC StagingDesc(const DXGI_MODE_DESC& mode) {
  D3D11_TEXTURE2D_DESC desc{};
  desc.Width = mode.Width;
  desc.Height = mode.Height;
  desc.MipLevels = 1;
  desc.ArraySize = 1;
  desc.Format = DXGI_FORMAT_B8G8R8A8_UNORM;
  desc.SampleDesc.Count = 1;
  desc.Usage = D3D11_USAGE_STAGING;
  desc.CPUAccessFlags = D3D11_CPU_ACCESS_READ;
  return desc;
}

// The cv::rotate code that turns a delivered frame upright, or -1 if it is upright. The output's rotation is
// the clockwise rotation from the delivered image to the desktop.
int TurnOf(DXGI_MODE_ROTATION rotation) {
  switch (rotation) {
    case DXGI_MODE_ROTATION_ROTATE90:
      return cv::ROTATE_90_CLOCKWISE;
    case DXGI_MODE_ROTATION_ROTATE180:
      return cv::ROTATE_180;
    case DXGI_MODE_ROTATION_ROTATE270:
      return cv::ROTATE_90_COUNTERCLOCKWISE;
    default:
      return -1;
  }
}

void Require(HRESULT result, const char* otherwise) {
  if (FAILED(result)) throw CaptureError(otherwise, result);
}

}  // namespace

// The duplication is released before its device.
void DuplicationContext::Clear() {
  dupl.Reset();
  output1.Reset();
  stagingFull.Reset();
  context.Reset();
  device.Reset();
  adapter.Reset();
  outputDesc = {};
  width = height = left = top = 0;
  deliveredSize = {};
  unbroken = false;
}

bool DuplicationContext::Init(HMONITOR monitor) {
  Clear();
  if (!FindOutput(monitor, adapter, output1, outputDesc)) {
    throw CaptureError("DXGI Output not found for monitor", DXGI_ERROR_NOT_FOUND);
  }
  const RECT& desktop = outputDesc.DesktopCoordinates;
  width = desktop.right - desktop.left;
  height = desktop.bottom - desktop.top;
  left = desktop.left;
  top = desktop.top;

  const D3D_FEATURE_LEVEL levels[] = {D3D_FEATURE_LEVEL_11_1, D3D_FEATURE_LEVEL_11_0, D3D_FEATURE_LEVEL_10_1,
                                      D3D_FEATURE_LEVEL_10_0};
  D3D_FEATURE_LEVEL obtained{};
  Require(::D3D11CreateDevice(adapter.Get(), D3D_DRIVER_TYPE_UNKNOWN, nullptr,
                              D3D11_CREATE_DEVICE_BGRA_SUPPORT, levels, UINT{std::size(levels)},
                              D3D11_SDK_VERSION, device.Put(), &obtained, context.Put()),
          "D3D11CreateDevice failed");
  Require(output1->DuplicateOutput(device.Get(), dupl.Put()), "DuplicateOutput failed");
  DXGI_OUTDUPL_DESC duplDesc{};
  dupl->GetDesc(&duplDesc);
  Require(FitsMonitor(duplDesc.ModeDesc) ? S_OK : DXGI_ERROR_ACCESS_LOST, "DuplicateOutput failed");
  const D3D11_TEXTURE2D_DESC staging = StagingDesc(duplDesc.ModeDesc);
  Require(device->CreateTexture2D(&staging, nullptr, stagingFull.Put()),
          "CreateTexture2D(stagingFull) failed");
  deliveredSize = cv::Size(static_cast<int>(staging.Width), static_cast<int>(staging.Height));
  changes.rects.reserve(FrameChanges::MaxRects);  // so that reading them never fails
  return true;
}

// Whether upright frames of the mode have the monitor's size. They do not if the mode changed after the
// output was described.
bool DuplicationContext::FitsMonitor(const DXGI_MODE_DESC& mode) const {
  const bool onItsSide = outputDesc.Rotation == DXGI_MODE_ROTATION_ROTATE90 ||
                         outputDesc.Rotation == DXGI_MODE_ROTATION_ROTATE270;
  const auto across = static_cast<std::int32_t>(onItsSide ? mode.Height : mode.Width);
  const auto down = static_cast<std::int32_t>(onItsSide ? mode.Width : mode.Height);
  return across == width && down == height;
}

CaptureOutcome DuplicationContext::Acquire(cv::Mat& out) {
  changes.known = false;
  changes.rects.clear();
  DXGI_OUTDUPL_FRAME_INFO info{};
  ComPtr<IDXGIResource> resource;
  const HRESULT acquired = dupl->AcquireNextFrame(FrameTimeoutMs, &info, resource.Put());
  if (acquired == DXGI_ERROR_WAIT_TIMEOUT) return CaptureOutcome::Of(acquired);
  const bool follows = std::exchange(unbroken, false);
  if (FAILED(acquired)) return CaptureOutcome::Of(acquired);
  cv::Mat delivered;
  const HRESULT result = MapFrame(resource.Get(), delivered);
  if (FAILED(result)) {
    dupl->ReleaseFrame();
    return CaptureOutcome::Of(result);
  }
  const int turn = TurnOf(outputDesc.Rotation);
  if (turn < 0) {
    out = delivered;
    if (follows) ReadChanges(info);
    unbroken = true;
    return CaptureOutcome::Of(result);
  }
  try {
    cv::rotate(delivered, upright, turn);
  } catch (...) {
    ReleaseFrame();
    throw;
  }
  out = upright;
  return CaptureOutcome::Of(result);
}

HRESULT DuplicationContext::MapFrame(IDXGIResource* resource, cv::Mat& delivered) {
  ComPtr<ID3D11Texture2D> texture;
  const HRESULT queried = resource->QueryInterface(IID_PPV_ARGS(texture.Put()));
  if (FAILED(queried)) return queried;
  context->CopyResource(stagingFull.Get(), texture.Get());
  D3D11_MAPPED_SUBRESOURCE mapped{};
  const HRESULT result = context->Map(stagingFull.Get(), 0, D3D11_MAP_READ, 0, &mapped);
  if (SUCCEEDED(result)) delivered = cv::Mat(deliveredSize, CV_8UC4, mapped.pData, mapped.RowPitch);
  return result;
}

// Leaves the changes unknown if the platform does not name them all.
void DuplicationContext::ReadChanges(const DXGI_OUTDUPL_FRAME_INFO& info) {
  const bool onlyPointer = info.LastPresentTime.QuadPart == 0;
  if (onlyPointer) changes.known = true;
  if (onlyPointer || info.TotalMetadataBufferSize == 0) return;
  DXGI_OUTDUPL_MOVE_RECT moveBuffer[FrameChanges::MaxRects];
  RECT dirtyBuffer[FrameChanges::MaxRects];
  UINT moveBytes = 0, dirtyBytes = 0;
  if (FAILED(dupl->GetFrameMoveRects(sizeof moveBuffer, moveBuffer, &moveBytes)) ||
      FAILED(dupl->GetFrameDirtyRects(sizeof dirtyBuffer, dirtyBuffer, &dirtyBytes))) {
    return;
  }
  const std::span moves(moveBuffer, moveBytes / sizeof *moveBuffer);
  const std::span dirty(dirtyBuffer, dirtyBytes / sizeof *dirtyBuffer);
  if (2 * moves.size() + dirty.size() > FrameChanges::MaxRects) return;

  const auto add = [this](std::int64_t x, std::int64_t y, const RECT& sized) {
    const auto corner = [this](std::int64_t atX, std::int64_t atY) {
      return cv::Point(static_cast<int>(std::clamp<std::int64_t>(atX, 0, width)),
                       static_cast<int>(std::clamp<std::int64_t>(atY, 0, height)));
    };
    const cv::Rect rect(corner(x, y), corner(x + sized.right - sized.left, y + sized.bottom - sized.top));
    if (!rect.empty()) changes.rects.push_back(rect);
  };
  for (const DXGI_OUTDUPL_MOVE_RECT& move : moves) {
    add(move.SourcePoint.x, move.SourcePoint.y, move.DestinationRect);
    add(move.DestinationRect.left, move.DestinationRect.top, move.DestinationRect);
  }
  for (const RECT& rect : dirty) add(rect.left, rect.top, rect);
  changes.known = true;
}

void DuplicationContext::ReleaseFrame() {
  context->Unmap(stagingFull.Get(), 0);
  dupl->ReleaseFrame();
}

}  // namespace quillmark
