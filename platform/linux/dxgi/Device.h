// The graphics device: creates staging textures, copies frames to them and maps them for reading.
//
// Threading: one thread at a time.
#pragma once

#include <d3d11.h>

#include <memory>

#include "dxgi/ComObject.h"
#include "dxgi/OutputDuplication.h"

namespace quillmark::layer {

class StagingTexture final : public ComObject<ID3D11Texture2D> {
 public:
  StagingTexture(UINT textureWidth, UINT textureHeight) : width(textureWidth), height(textureHeight) {}

  const UINT width, height;
  FrameName frame;  // the last one copied here
  bool mapped = false;

 protected:
  void* Find(REFIID id) override;
};

class DeviceContext final : public ComObject<ID3D11DeviceContext> {
 public:
  void CopyResource(ID3D11Resource* destination, ID3D11Resource* source) override;
  HRESULT Map(ID3D11Resource* resource, UINT subresource, D3D11_MAP kind, UINT flags,
              D3D11_MAPPED_SUBRESOURCE* mapped) override;
  void Unmap(ID3D11Resource* resource, UINT subresource) override;
};

class Device final : public ComObject<ID3D11Device> {
 public:
  HRESULT CreateTexture2D(const D3D11_TEXTURE2D_DESC* desc, const D3D11_SUBRESOURCE_DATA* initial,
                          ID3D11Texture2D** texture) override;
};

}  // namespace quillmark::layer
