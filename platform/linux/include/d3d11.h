// The part of the platform's graphics device that reads duplicated frames, for Linux: a device, staging
// textures, copying and mapping. Described in ../README.md.
#pragma once

#include <dxgi1_2.h>
#include <unknwn.h>
#include <windows.h>

#define D3D11_SDK_VERSION 7u

enum D3D_DRIVER_TYPE { D3D_DRIVER_TYPE_UNKNOWN = 0 };
enum D3D_FEATURE_LEVEL {
  D3D_FEATURE_LEVEL_10_0 = 0xA000,
  D3D_FEATURE_LEVEL_10_1 = 0xA100,
  D3D_FEATURE_LEVEL_11_0 = 0xB000,
  D3D_FEATURE_LEVEL_11_1 = 0xB100,
};
enum D3D11_CREATE_DEVICE_FLAG { D3D11_CREATE_DEVICE_BGRA_SUPPORT = 0x20 };
enum D3D11_USAGE {
  D3D11_USAGE_STAGING = 3,
};
enum D3D11_CPU_ACCESS_FLAG { D3D11_CPU_ACCESS_READ = 0x20000 };
enum D3D11_MAP { D3D11_MAP_READ = 1 };

struct D3D11_TEXTURE2D_DESC {
  UINT Width;
  UINT Height;
  UINT MipLevels;
  UINT ArraySize;
  DXGI_FORMAT Format;
  DXGI_SAMPLE_DESC SampleDesc;
  D3D11_USAGE Usage;
  UINT BindFlags;
  UINT CPUAccessFlags;
  UINT MiscFlags;
};
struct D3D11_SUBRESOURCE_DATA;
struct D3D11_MAPPED_SUBRESOURCE {
  void* pData;
  UINT RowPitch;
  UINT DepthPitch;
};

struct ID3D11Resource : IUnknown {};

struct ID3D11Texture2D : ID3D11Resource {};

struct ID3D11DeviceContext : IUnknown {
  virtual void CopyResource(ID3D11Resource* destination, ID3D11Resource* source) = 0;
  virtual HRESULT Map(ID3D11Resource* resource, UINT subresource, D3D11_MAP kind, UINT flags,
                      D3D11_MAPPED_SUBRESOURCE* mapped) = 0;
  virtual void Unmap(ID3D11Resource* resource, UINT subresource) = 0;
};

struct ID3D11Device : IUnknown {
  virtual HRESULT CreateTexture2D(const D3D11_TEXTURE2D_DESC* desc, const D3D11_SUBRESOURCE_DATA* initial,
                                  ID3D11Texture2D** texture) = 0;
};

namespace quillmark::layer {

template <>
inline constexpr GUID interfaceId<ID3D11Texture2D>{
    0x6F15AAF2, 0xD208, 0x4E89, {0x9A, 0xB4, 0x48, 0x95, 0x35, 0xD3, 0x4F, 0x9C}};

}  // namespace quillmark::layer

extern "C" {
HRESULT WINAPI D3D11CreateDevice(IDXGIAdapter* adapter, D3D_DRIVER_TYPE driverType, HMODULE software,
                                 UINT flags, const D3D_FEATURE_LEVEL* levels, UINT levelCount,
                                 UINT sdkVersion, ID3D11Device** device, D3D_FEATURE_LEVEL* level,
                                 ID3D11DeviceContext** context);
}
