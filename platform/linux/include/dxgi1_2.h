// The part of the platform's graphics infrastructure that desktop duplication needs, for Linux: adapters,
// their outputs, and the frames of an output. Described in ../README.md.
#pragma once

#include <unknwn.h>
#include <windows.h>

#define DXGI_ERROR_INVALID_CALL (static_cast<HRESULT>(0x887A0001u))
#define DXGI_ERROR_NOT_FOUND (static_cast<HRESULT>(0x887A0002u))
#define DXGI_ERROR_MORE_DATA (static_cast<HRESULT>(0x887A0003u))
#define DXGI_ERROR_UNSUPPORTED (static_cast<HRESULT>(0x887A0004u))
#define DXGI_ERROR_DEVICE_REMOVED (static_cast<HRESULT>(0x887A0005u))
#define DXGI_ERROR_ACCESS_LOST (static_cast<HRESULT>(0x887A0026u))
#define DXGI_ERROR_WAIT_TIMEOUT (static_cast<HRESULT>(0x887A0027u))

enum DXGI_FORMAT {
  DXGI_FORMAT_B8G8R8A8_UNORM = 87,
};
// The clockwise rotation from the output's image to the desktop.
enum DXGI_MODE_ROTATION {
  DXGI_MODE_ROTATION_UNSPECIFIED = 0,
  DXGI_MODE_ROTATION_IDENTITY = 1,
  DXGI_MODE_ROTATION_ROTATE90 = 2,
  DXGI_MODE_ROTATION_ROTATE180 = 3,
  DXGI_MODE_ROTATION_ROTATE270 = 4,
};

struct DXGI_SAMPLE_DESC {
  UINT Count;
  UINT Quality;
};
struct DXGI_MODE_DESC {
  UINT Width;
  UINT Height;
  DXGI_FORMAT Format;
};
struct DXGI_OUTPUT_DESC {
  WCHAR DeviceName[32];
  RECT DesktopCoordinates;
  BOOL AttachedToDesktop;
  DXGI_MODE_ROTATION Rotation;
  HMONITOR Monitor;
};
struct DXGI_OUTDUPL_DESC {
  DXGI_MODE_DESC ModeDesc;  // of the image as the output delivers it, not rotated
  DXGI_MODE_ROTATION Rotation;
};
struct DXGI_OUTDUPL_FRAME_INFO {
  LARGE_INTEGER LastPresentTime;  // 0 if only the pointer changed
  UINT AccumulatedFrames;
  UINT TotalMetadataBufferSize;  // bytes of the frame's move and dirty rectangles
};
struct DXGI_OUTDUPL_MOVE_RECT {
  POINT SourcePoint;
  RECT DestinationRect;
};

struct IDXGIResource : IUnknown {};

struct IDXGIOutputDuplication : IUnknown {
  virtual void GetDesc(DXGI_OUTDUPL_DESC* desc) = 0;
  virtual HRESULT AcquireNextFrame(UINT timeoutMs, DXGI_OUTDUPL_FRAME_INFO* info, IDXGIResource** frame) = 0;
  // Pixels of the image as delivered. Sizes are bytes.
  virtual HRESULT GetFrameDirtyRects(UINT size, RECT* buffer, UINT* required) = 0;
  virtual HRESULT GetFrameMoveRects(UINT size, DXGI_OUTDUPL_MOVE_RECT* buffer, UINT* required) = 0;
  virtual HRESULT ReleaseFrame() = 0;
};

struct IDXGIOutput : IUnknown {
  virtual HRESULT GetDesc(DXGI_OUTPUT_DESC* desc) = 0;
};

struct IDXGIOutput1 : IDXGIOutput {
  virtual HRESULT DuplicateOutput(IUnknown* device, IDXGIOutputDuplication** duplication) = 0;
};

struct IDXGIAdapter : IUnknown {
  virtual HRESULT EnumOutputs(UINT index, IDXGIOutput** output) = 0;
};

struct IDXGIAdapter1 : IDXGIAdapter {};

struct IDXGIFactory1 : IUnknown {
  virtual HRESULT EnumAdapters1(UINT index, IDXGIAdapter1** adapter) = 0;
};

namespace quillmark::layer {

template <>
inline constexpr GUID interfaceId<IDXGIFactory1>{
    0x770AAE78, 0xF26F, 0x4DBA, {0xA8, 0x29, 0x25, 0x3C, 0x83, 0xD1, 0xB3, 0x87}};
template <>
inline constexpr GUID interfaceId<IDXGIOutput1>{
    0x00CDDEA8, 0x939B, 0x4B83, {0xA3, 0x40, 0xA6, 0x85, 0x22, 0x66, 0x66, 0xCC}};

}  // namespace quillmark::layer

extern "C" {
HRESULT WINAPI CreateDXGIFactory1(REFIID id, void** factory);
}
