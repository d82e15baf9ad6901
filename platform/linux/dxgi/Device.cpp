#include "dxgi/Device.h"

#include <algorithm>

#include "dxgi/Adapter.h"

namespace quillmark::layer {
namespace {

constexpr UINT kLargestSide = 16384;  // of a texture at feature level 11

// The only kind of texture: a single BGRA image that the processor can read.
bool IsStagingImage(const D3D11_TEXTURE2D_DESC& desc) {
  return desc.Width >= 1 && desc.Width <= kLargestSide && desc.Height >= 1 && desc.Height <= kLargestSide &&
         desc.MipLevels == 1 && desc.ArraySize == 1 && desc.Format == DXGI_FORMAT_B8G8R8A8_UNORM &&
         desc.SampleDesc.Count == 1 && desc.SampleDesc.Quality == 0 && desc.Usage == D3D11_USAGE_STAGING &&
         desc.BindFlags == 0 && desc.CPUAccessFlags == D3D11_CPU_ACCESS_READ && desc.MiscFlags == 0;
}

bool IsFeatureLevel(D3D_FEATURE_LEVEL level) {
  return level == D3D_FEATURE_LEVEL_10_0 || level == D3D_FEATURE_LEVEL_10_1 ||
         level == D3D_FEATURE_LEVEL_11_0 || level == D3D_FEATURE_LEVEL_11_1;
}

}  // namespace

void* StagingTexture::Find(REFIID id) {
  return id == interfaceId<ID3D11Texture2D> ? static_cast<ID3D11Texture2D*>(this) : nullptr;
}

void DeviceContext::CopyResource(ID3D11Resource* destination, ID3D11Resource* source) {
  auto* const staging = dynamic_cast<StagingTexture*>(destination);
  const auto* const texture = dynamic_cast<const FrameTexture*>(source);
  // The call cannot report failure. As on the platform, it does nothing if the resources do not match.
  if (staging == nullptr || texture == nullptr || staging->mapped) return;
  const Duplication& frames = *texture->frame.source->duplication;
  if (frames.Width() == staging->width && frames.Height() == staging->height) staging->frame = texture->frame;
}

HRESULT DeviceContext::Map(ID3D11Resource* resource, UINT subresource, D3D11_MAP kind, UINT flags,
                           D3D11_MAPPED_SUBRESOURCE* mapped) {
  auto* const staging = dynamic_cast<StagingTexture*>(resource);
  if (staging == nullptr || subresource != 0 || kind != D3D11_MAP_READ || flags != 0 || mapped == nullptr) {
    return E_INVALIDARG;
  }
  if (staging->mapped || !staging->frame.IsHeld()) return DXGI_ERROR_INVALID_CALL;
  ImageView view;
  const HRESULT result = staging->frame.source->duplication->Map(view);
  if (FAILED(result)) return result;
  staging->mapped = true;
  // Mapped for reading: nobody writes through the pointer.
  mapped->pData = const_cast<std::uint8_t*>(view.data);
  mapped->RowPitch = view.pitch;
  mapped->DepthPitch = view.pitch * staging->height;
  return S_OK;
}

void DeviceContext::Unmap(ID3D11Resource* resource, UINT subresource) {
  auto* const staging = dynamic_cast<StagingTexture*>(resource);
  if (staging != nullptr && subresource == 0) staging->mapped = false;
}

HRESULT Device::CreateTexture2D(const D3D11_TEXTURE2D_DESC* desc, const D3D11_SUBRESOURCE_DATA* initial,
                                ID3D11Texture2D** texture) {
  if (desc == nullptr || initial != nullptr || texture == nullptr || !IsStagingImage(*desc)) {
    return E_INVALIDARG;
  }
  *texture = nullptr;
  return Give<StagingTexture>(texture, desc->Width, desc->Height);
}

}  // namespace quillmark::layer

using namespace quillmark::layer;

HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE driverType, HMODULE software,
                                 UINT flags, const D3D_FEATURE_LEVEL* levels, UINT levelCount,
                                 UINT sdkVersion, ID3D11Device** device, D3D_FEATURE_LEVEL* level,
                                 ID3D11DeviceContext** context) {
  const auto* const ours = dynamic_cast<const Adapter*>(adapter);
  if (ours == nullptr || driverType != D3D_DRIVER_TYPE_UNKNOWN || software != nullptr ||
      (flags & ~UINT{D3D11_CREATE_DEVICE_BGRA_SUPPORT}) != 0 || levels == nullptr || levelCount == 0 ||
      !std::all_of(levels, levels + levelCount, IsFeatureLevel) || sdkVersion != D3D11_SDK_VERSION ||
      device == nullptr || context == nullptr) {
    return E_INVALIDARG;
  }
  *device = nullptr;
  *context = nullptr;
  const HRESULT opened = ours->desktop->OpenDevice();
  if (FAILED(opened)) return opened;
  if (level != nullptr) *level = levels[0];
  Give<Device>(device);
  return Give<DeviceContext>(context);
}
