// The layer's duplication calls: their order, and how long their objects live.
#include <d3d11.h>
#include <gtest/gtest.h>

#include <memory>

#include "capture/ComPtr.h"
#include "support/ScriptedDesktop.h"

namespace quillmark {
namespace {

class DuplicationCalls : public testing::Test {
 protected:
  DuplicationCalls() {
    desktop->AddMonitor({});
    ::CreateDXGIFactory1(IID_PPV_ARGS(factory.Put()));
    factory->EnumAdapters1(0, adapter.Put());
    adapter->EnumOutputs(0, output.Put());
    output.As(output1);
    const D3D_FEATURE_LEVEL level = D3D_FEATURE_LEVEL_11_0;
    ::D3D11CreateDevice(adapter.Get(), D3D_DRIVER_TYPE_UNKNOWN, nullptr, 0, &level, 1, D3D11_SDK_VERSION,
                        device.Put(), nullptr, context.Put());
    output1->DuplicateOutput(device.Get(), dupl.Put());
    device->CreateTexture2D(&stagingDesc, nullptr, staging.Put());
  }

  HRESULT Acquire() {
    DXGI_OUTDUPL_FRAME_INFO info{};
    ComPtr<IDXGIResource> resource;
    const HRESULT result = dupl->AcquireNextFrame(0, &info, resource.Put());
    if (SUCCEEDED(result)) resource.As(texture);
    return result;
  }
  HRESULT Map(UINT subresource = 0, D3D11_MAP kind = D3D11_MAP_READ, UINT flags = 0) {
    D3D11_MAPPED_SUBRESOURCE mapped{};
    return context->Map(staging.Get(), subresource, kind, flags, &mapped);
  }
  void Copy() { context->CopyResource(staging.Get(), texture.Get()); }

  const std::shared_ptr<test::ScriptedDesktop> desktop = test::ScriptedDesktop::Install();
  D3D11_TEXTURE2D_DESC stagingDesc{
      640, 480, 1, 1, DXGI_FORMAT_B8G8R8A8_UNORM, {1, 0}, D3D11_USAGE_STAGING, 0, D3D11_CPU_ACCESS_READ, 0};
  ComPtr<IDXGIFactory1> factory;
  ComPtr<IDXGIAdapter1> adapter;
  ComPtr<IDXGIOutput> output;
  ComPtr<IDXGIOutput1> output1;
  ComPtr<ID3D11Device> device;
  ComPtr<ID3D11DeviceContext> context;
  ComPtr<IDXGIOutputDuplication> dupl;
  ComPtr<ID3D11Texture2D> staging, texture;
};

TEST_F(DuplicationCalls, MapOnlyACopiedFrameThatIsHeld) {
  EXPECT_EQ(dupl->ReleaseFrame(), DXGI_ERROR_INVALID_CALL);
  EXPECT_EQ(Map(), DXGI_ERROR_INVALID_CALL);
  ASSERT_EQ(Acquire(), S_OK);
  EXPECT_EQ(Acquire(), DXGI_ERROR_INVALID_CALL);
  EXPECT_EQ(Map(), DXGI_ERROR_INVALID_CALL);
  Copy();
  EXPECT_EQ(Map(1), E_INVALIDARG);
  EXPECT_EQ(Map(0, D3D11_MAP{}), E_INVALIDARG);
  EXPECT_EQ(Map(0, D3D11_MAP_READ, 0x100000), E_INVALIDARG);
  EXPECT_EQ(Map(), S_OK);
  EXPECT_EQ(Map(), DXGI_ERROR_INVALID_CALL);
  context->Unmap(staging.Get(), 0);
  EXPECT_EQ(Map(), S_OK);
  context->Unmap(staging.Get(), 0);
  EXPECT_EQ(dupl->ReleaseFrame(), S_OK);
  EXPECT_EQ(Map(), DXGI_ERROR_INVALID_CALL);
  EXPECT_EQ(Acquire(), DXGI_ERROR_WAIT_TIMEOUT);
  desktop->Refresh(1);
  ASSERT_EQ(Acquire(), S_OK);
  EXPECT_EQ(Map(), DXGI_ERROR_INVALID_CALL) << "the staging texture holds the previous frame";

  stagingDesc.Width = 320;
  ASSERT_EQ(device->CreateTexture2D(&stagingDesc, nullptr, staging.Put()), S_OK);
  Copy();
  EXPECT_EQ(Map(), DXGI_ERROR_INVALID_CALL) << "a staging texture of another size";
}

TEST_F(DuplicationCalls, AnswerQueriesByIdAndCountReferences) {
  ComPtr<IUnknown> itself, again;
  ASSERT_EQ(output.As(itself), S_OK);
  ASSERT_EQ(output1.As(again), S_OK);
  EXPECT_EQ(itself.Get(), again.Get()) << "an object has one identity";
  ComPtr<ID3D11Texture2D> none;
  EXPECT_EQ(output.As(none), E_NOINTERFACE);
  EXPECT_FALSE(none);
  EXPECT_EQ(output->AddRef(), 5u);  // output, output1, itself, again
  EXPECT_EQ(output->Release(), 4u);
}

TEST_F(DuplicationCalls, KeepTheFramesAliveAsLongAsAnObjectRefersToThem) {
  ASSERT_EQ(Acquire(), S_OK);
  dupl.Reset();
  EXPECT_EQ(desktop->OpenDuplications(), 1);
  Copy();
  EXPECT_EQ(Map(), S_OK);
  texture.Reset();
  staging.Reset();
  EXPECT_EQ(desktop->OpenDuplications(), 0);
}

}  // namespace
}  // namespace quillmark
